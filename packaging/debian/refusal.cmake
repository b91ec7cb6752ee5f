# CPack runs this script first in a build that is not suitable for packages.
if(CPACK_GENERATOR STREQUAL "DEB")
  message(FATAL_ERROR "Debian packages need a release build with shared libraries. Configure with \
\"cmake --preset release\", and without BUILD_SHARED_LIBS=OFF.")
endif()
