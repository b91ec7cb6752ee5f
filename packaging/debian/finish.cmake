# CPack runs this script after it has installed each component into a folder of its own, and before
# it makes Debian packages from them. The script adds everything that only a package needs.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()

set(sources ${CPACK_VANTREL_SOURCES}/packaging/debian)
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(control ${CPACK_VANTREL_BINARIES}/debian)
file(REMOVE_RECURSE ${control})
file(MAKE_DIRECTORY ${control}/debian)

# The documents in each package.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(date $ENV{SOURCE_DATE_EPOCH})
else()
  file(TIMESTAMP ${CPACK_VANTREL_SOURCES}/CHANGELOG.md date %s UTC)
endif()
execute_process(COMMAND date --utc --rfc-email --date=@${date} OUTPUT_VARIABLE date
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
  set(doc ${root}/share/doc/${package})
  configure_file(${sources}/copyright ${doc}/copyright @ONLY)
  configure_file(${CPACK_VANTREL_SOURCES}/CHANGELOG.md ${doc}/changelog COPYONLY)
  configure_file(${sources}/changelog ${doc}/changelog.Debian @ONLY)
  if(EXISTS ${root}/share/zsh/site-functions) # where Debian's zsh looks below /usr/local only
    file(RENAME ${root}/share/zsh/site-functions ${root}/share/zsh/vendor-completions)
  endif()
  file(GLOB pages ${root}/share/man/man1/*.1)
  execute_process(COMMAND gzip -9n ${doc}/changelog ${doc}/changelog.Debian ${pages}
    COMMAND_ERROR_IS_FATAL ANY)
  if(EXISTS ${sources}/${component}.lintian-overrides)
    configure_file(${sources}/${component}.lintian-overrides
      ${root}/share/lintian/overrides/${package} @ONLY)
  endif()
endforeach()

# Symbols of the libraries, from the lists of the tests. Names without a version were in the first
# release of this major version.
set(libraries ${CPACK_TEMPORARY_DIRECTORY}/libraries)
set(package ${CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME})
foreach(library vantrel vantrel-cansupport vantrel-statistics)
  file(STRINGS ${CPACK_VANTREL_SYMBOLS}/${library}.txt symbols)
  if(CPACK_VANTREL_STEM STREQUAL "vantrel-qt6") # where QVector is another name for QList
    list(TRANSFORM symbols REPLACE 7QVector 5QList)
  endif()
  list(TRANSFORM symbols REPLACE "^([^ ]+)$" "\\1 ${CPACK_VANTREL_FIRST_RELEASE}")
  list(TRANSFORM symbols REPLACE "^([^ ]+) (.+)$" " \\1@Base \\2\n")
  list(JOIN symbols "" symbols)
  string(REPLACE vantrel ${CPACK_VANTREL_STEM} library ${library})
  file(APPEND ${control}/symbols
    "lib${library}.so.${CPACK_VANTREL_SOVERSION} ${package} #MINVER#\n"
    "* Build-Depends-Package: ${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME}\n${symbols}")
  file(APPEND ${control}/shlibs
    "lib${library} ${CPACK_VANTREL_SOVERSION} ${package} (>= ${CPACK_PACKAGE_VERSION})\n")
endforeach()
file(WRITE ${control}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA
  ${control}/symbols ${control}/shlibs ${control}/triggers)

# CPack could compute the dependencies too, but would then add scripts that call ldconfig, and would
# not know the symbols.
file(COPY ${control}/symbols DESTINATION ${libraries}/DEBIAN)
file(TOUCH ${control}/debian/control)
set(own -x${package}) # not a dependency of the libraries' own package
foreach(component libraries program)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
  file(GLOB binaries ${root}/bin/* ${root}/${CPACK_VANTREL_LIBDIR}/*.so.*.*.*)
  if(NOT binaries)
    continue() # there is no program
  endif()
  foreach(binary IN LISTS binaries)
    file(RPATH_REMOVE FILE ${binary}) # packages install into system folders
    execute_process(COMMAND ${CPACK_VANTREL_STRIP} --strip-unneeded --remove-section=.comment
      --remove-section=.note ${binary} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  file(MAKE_DIRECTORY ${CPACK_TEMPORARY_DIRECTORY}/${component}/DEBIAN) # for dpkg-shlibdeps
  execute_process(COMMAND dpkg-shlibdeps -O -S${libraries} ${own} ${binaries}
    WORKING_DIRECTORY ${control} OUTPUT_VARIABLE depends OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
  unset(own)
  string(TOUPPER ${component} upper)
  string(REPLACE "shlibs:Depends=" "" depends ${depends})
  list(APPEND CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS ${depends})
  list(JOIN CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS ", " CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS)
endforeach()
file(REMOVE_RECURSE ${libraries}/DEBIAN ${CPACK_TEMPORARY_DIRECTORY}/program/DEBIAN)
