# One .deb for each component. The packages of one version belong together, so each depends on
# exactly this version of the library.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${LARDER_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/folder-permissions.cmake)

# What each package has in its folder below share/doc.
set(files ${CMAKE_CURRENT_BINARY_DIR}/debian)
file(TIMESTAMP ${PROJECT_SOURCE_DIR}/CHANGELOG.md date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(TIMESTAMP ${PROJECT_SOURCE_DIR}/CHANGELOG.md year "%Y" UTC)
configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${files}/changelog @ONLY)
execute_process(COMMAND gzip --best --no-name --force --keep changelog
  WORKING_DIRECTORY ${files} COMMAND_ERROR_IS_FATAL ANY)

# larder_write_copyright(FILE [name license]...)
function(larder_write_copyright result)
  file(READ ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/copyright text)
  string(CONFIGURE "${text}" text @ONLY)
  while(ARGN)
    list(POP_FRONT ARGN name license)
    if(EXISTS ${license})
      file(READ ${license} licenseText)
      string(APPEND text "\n----\nThis package contains ${name}. Its copyright and license:\n\n${licenseText}")
    endif()
  endwhile()
  file(WRITE ${result} "${text}")
endfunction()
larder_write_copyright(${files}/ours/copyright)
larder_write_copyright(${files}/all/copyright ${LARDER_OTHER_LICENSES})

# larder_deb(COMPONENT NAME SECTION COPYRIGHT SYNOPSIS TEXT): COPYRIGHT is "ours" or "all"; SYNOPSIS and
# TEXT are the description.
macro(larder_deb component name section copyright synopsis text)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${synopsis}\n${text}")
  if(NOT ${component} STREQUAL library)
    set(CPACK_COMPONENT_${upper}_DEPENDS library)
  endif()
  # Excluded from an installation without a package.
  install(FILES ${files}/changelog.gz ${files}/${copyright}/copyright
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

larder_deb(library liblarder${PROJECT_VERSION_MAJOR} libs ours
  "facts about files and other objects, from provider modules"
  "The library that programs load. It needs provider modules, such as those\nof the package larder.")
configure_file(${CMAKE_CURRENT_LIST_DIR}/shlibs.in ${files}/shlibs @ONLY)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${files}/shlibs ${CMAKE_CURRENT_LIST_DIR}/triggers)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS larder)

larder_deb(development liblarder-dev libdevel ours
  "facts about files and other objects - development files"
  "Headers, the CMake package, documentation and samples for authors of clients\nand of provider modules.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS larder)

larder_deb(tool larder utils all
  "facts about files and other objects - command-line tool and providers"
  "The command-line tool and the provider modules. Installing the package\nregisters the providers.")
cmake_path(ABSOLUTE_PATH LARDER_INSTALL_MODULEDIR BASE_DIRECTORY ${CPACK_PACKAGING_INSTALL_PREFIX}
  OUTPUT_VARIABLE modules)
string(REPLACE "/" "\\" modules "${modules}/")  # as the registry has it
foreach(script postinst prerm)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${script}.in ${files}/${script} @ONLY)
endforeach()
set(CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_EXTRA
  ${files}/postinst ${files}/prerm ${CMAKE_CURRENT_LIST_DIR}/postrm)
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS larder-lttng)

larder_deb(lttng larder-lttng libs ours
  "facts about files and other objects - trace sessions"
  "The shared object by which sessions of LTTng get the library's lines. It adds\nthree threads to each program that loads the library.")
set(CPACK_DEBIAN_LTTNG_PACKAGE_RECOMMENDS "lttng-tools, babeltrace2")
