# In a build that cannot be packaged, CPack runs this script first.
if(CPACK_GENERATOR STREQUAL "DEB")
  message(FATAL_ERROR "Debian packages need a release build with shared libraries. Configure with \
\"cmake --preset release\", and without BUILD_SHARED_LIBS=OFF.")
endif()
