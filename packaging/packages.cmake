# Packages: `cpack -G DEB` in the folder of a release build makes Debian packages from it, and
# `cpack --config CPackSourceConfig.cmake` makes a tarball of the sources.
set(CPACK_PACKAGE_NAME vantrel)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGE_CONTACT "Vantrel maintainers <maintainers@vantrel.invalid>" CACHE STRING
  "Maintainer of the Debian packages: NAME <ADDRESS>")
set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME vantrel-${Vantrel_VERSION})
set(CPACK_SOURCE_IGNORE_FILES ^${PROJECT_SOURCE_DIR}/build/ "/\\\\.git/" "/\\\\.git$" /__pycache__/)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON) # a package for each component
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
  GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1~vantrel) # precedes revision 1 of a distribution
set(CPACK_DEBIAN_PACKAGE_SOURCE ${VANTREL_STEM})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian/finish.cmake)

# For the script, which sees only variables with this prefix.
set(CPACK_VANTREL_STEM ${VANTREL_STEM})
set(CPACK_VANTREL_SOURCES ${PROJECT_SOURCE_DIR})
set(CPACK_VANTREL_BINARIES ${PROJECT_BINARY_DIR})
set(CPACK_VANTREL_STRIP ${CMAKE_STRIP})
set(CPACK_VANTREL_SYMBOLS ${PROJECT_SOURCE_DIR}/tests/package/symbols)
set(CPACK_VANTREL_FIRST_RELEASE ${Vantrel_VERSION_MAJOR}.0.0)
set(CPACK_VANTREL_SOVERSION ${Vantrel_VERSION_MAJOR})
set(CPACK_VANTREL_LIBDIR ${CMAKE_INSTALL_LIBDIR})
get_target_property(type vantrel TYPE)
if(NOT type STREQUAL "SHARED_LIBRARY" OR CMAKE_BUILD_TYPE STREQUAL "Debug"
    OR CMAKE_CXX_FLAGS MATCHES "-fsanitize|--coverage")
  set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/debian/refusal.cmake)
endif()

# vantrel_package(<component> <package> <section> <Multi-Arch> <summary> <paragraph>...)
function(vantrel_package component package section multi_arch summary)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
  string(TOUPPER ${component} component)
  set(CPACK_DEBIAN_${component}_PACKAGE_NAME ${package} PARENT_SCOPE)
  # CPack has no variable for Multi-Arch.
  string(APPEND section "\nMulti-Arch: ${multi_arch}")
  set(CPACK_DEBIAN_${component}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  list(JOIN ARGN "\n\n" text)
  set(CPACK_DEBIAN_${component}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
endfunction()

set(about "Vantrel stores the values of CANopen and J1939 signals and computes their
statistics: average, deviation, minimum, maximum, median, a band around the
average, the values outside it, and a rating.")
set(with "with Qt ${QT_DEFAULT_MAJOR_VERSION}")
if(QT_DEFAULT_MAJOR_VERSION EQUAL 5)
  set(library libvantrel${Vantrel_VERSION_MAJOR})
  set(qt_core qtbase5-dev)
  set(bus_plugins libqt5serialbus5-plugins)
else()
  set(library lib${VANTREL_STEM}-${Vantrel_VERSION_MAJOR})
  set(qt_core qt6-base-dev)
  set(bus_plugins libqt6serialbus6)
endif()
set(same_version "(= ${Vantrel_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(multi_arch no)
if(VANTREL_MULTIARCH)
  set(multi_arch same)
endif()

vantrel_package(libraries ${library} libs ${multi_arch}
  "recorded values and statistics of CAN signals, ${with}" "${about}"
  "This package contains the shared libraries.")
vantrel_package(development lib${VANTREL_STEM}-dev libdevel ${multi_arch}
  "recorded values and statistics of CAN signals, ${with} - development files" "${about}"
  "This package contains the headers, and files for CMake and pkg-config.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} ${same_version}, ${qt_core}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS ${VANTREL_STEM}-doc)
vantrel_package(documentation ${VANTREL_STEM}-doc doc foreign
  "recorded values and statistics of CAN signals, ${with} - documentation" "${about}"
  "This package contains the manual of the program, the guides for developers and
the API reference of the library.")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
if(VANTREL_MONITOR)
  vantrel_package(program ${VANTREL_STEM} utils foreign
    "statistics of CANopen and J1939 signals on a bus or in a recording, ${with}"
    "The program ${VANTREL_STEM} watches a CAN bus or replays a recording, decodes its
signals with DBC and EDS files, and shows their statistics as a table or as
plots, on the terminal or in a window."
    "It reads candump, ASC, TRC, CSV, BLF, MF4, pcap and pcapng, also compressed
with gzip or zstd.")
  # These plugins are loaded at run time.
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS ${bus_plugins})
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS ${VANTREL_STEM}-doc)
endif()
include(CPack)

# The targets that must be built before packaging.
add_custom_target(packaged DEPENDS vantrel)
foreach(target vantrel-program vantrel-described)
  if(TARGET ${target})
    add_dependencies(packaged ${target})
  endif()
endforeach()

# The documentation is built when it is packaged. Other installations do not need Doxygen.
set(folder ${CMAKE_INSTALL_DATADIR}/doc/${VANTREL_STEM}-doc)
if(TARGET reference)
  install(CODE "execute_process(COMMAND_ERROR_IS_FATAL ANY
    COMMAND \"${CMAKE_COMMAND}\" --build \"${PROJECT_BINARY_DIR}\" --target reference)"
    COMPONENT documentation EXCLUDE_FROM_ALL)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/reference/html DESTINATION ${folder}
    COMPONENT documentation EXCLUDE_FROM_ALL)
else()
  install(DIRECTORY docs DESTINATION ${folder} COMPONENT documentation EXCLUDE_FROM_ALL)
endif()
