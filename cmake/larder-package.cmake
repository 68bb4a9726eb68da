# The packages that cpack makes: three .deb files on Linux, one .zip on Windows. `./dev package` sets
# the build folders up and runs it. Each installed file belongs to a component: library, development
# or tool.
set(LARDER_PACKAGE_MAINTAINER "The Larder developers <developers@larder.invalid>"
  CACHE STRING "Name and address in the .deb files")
set(CPACK_PACKAGE_NAME larder)
set(CPACK_PACKAGE_VENDOR "The Larder developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_VERBATIM_VARIABLES ON)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
  set(CPACK_PACKAGE_FILE_NAME larder-${PROJECT_VERSION}-windows-x64)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${LARDER_PACKAGE_MAINTAINER})
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

  set(library liblarder${PROJECT_VERSION_MAJOR})
  set(exactly "(= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS larder)
  set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
    "The library that programs load. It needs provider modules, such as those\n of the package larder.")

  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liblarder-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} ${exactly}")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS larder)
  set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Headers, the CMake package, documentation and samples for authors of clients\n and of provider modules.")

  set(CPACK_DEBIAN_TOOL_PACKAGE_NAME larder)
  set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
  set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library} ${exactly}")
  set(CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_LIST_DIR}/debian/postinst ${CMAKE_CURRENT_LIST_DIR}/debian/prerm
    ${CMAKE_CURRENT_LIST_DIR}/debian/postrm)
  set(CPACK_COMPONENT_TOOL_DESCRIPTION
    "The command-line tool and the provider modules. Installing the package\n registers the providers.")
endif()
include(CPack)
