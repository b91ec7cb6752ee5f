# Installs the libraries, and the CMake package and pkg-config files by which hosts find them. The
# names of installed files depend on the version of Qt, so both versions can be installed together.
include(CMakePackageConfigHelpers)

set(VANTREL_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/${VANTREL_STEM})
set(VANTREL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/${VANTREL_PACKAGE})

set(description_vantrel-cansupport "Base class of CAN values and CAN enumerations")
set(description_vantrel-statistics "Calculators for running statistics and for lists")
set(description_vantrel ${Vantrel_DESCRIPTION})
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE prefix)
foreach(target vantrel-cansupport vantrel-statistics vantrel)
  if(NOT TARGET ${target}) # the host has its own
    continue()
  endif()
  install(TARGETS ${target} EXPORT VantrelTargets
    LIBRARY COMPONENT libraries NAMELINK_COMPONENT development
    RUNTIME COMPONENT libraries
    ARCHIVE COMPONENT development
    FILE_SET HEADERS DESTINATION ${VANTREL_HEADER_DIR} COMPONENT development)
  set(description ${description_${target}})
  string(REPLACE vantrel ${VANTREL_STEM} library ${target})
  set(requirements "${VANTREL_QT}Core >= ${VANTREL_QT_VERSION}")
  if(target STREQUAL "vantrel")
    list(JOIN others "" others)
    string(PREPEND requirements "${others}")
  endif()
  configure_file(cmake/library.pc.in ${library}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
  list(APPEND others "${library} = ${Vantrel_VERSION}, ")
endforeach()
install(EXPORT VantrelTargets NAMESPACE Vantrel:: DESTINATION ${VANTREL_CMAKE_DIR}
  COMPONENT development)
configure_package_config_file(cmake/VantrelConfig.cmake.in VantrelConfig.cmake
  INSTALL_DESTINATION ${VANTREL_CMAKE_DIR})
write_basic_package_version_file(BasicVersion.cmake COMPATIBILITY SameMajorVersion)
file(READ ${PROJECT_BINARY_DIR}/BasicVersion.cmake VANTREL_BASIC_VERSION)
configure_file(cmake/VantrelConfigVersion.cmake.in VantrelConfigVersion.cmake @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/VantrelConfig.cmake
  ${PROJECT_BINARY_DIR}/VantrelConfigVersion.cmake DESTINATION ${VANTREL_CMAKE_DIR}
  COMPONENT development)
