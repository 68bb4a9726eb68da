# The packages that cpack makes: .deb files on Linux, one .zip on Windows. The target "packages" builds
# what they contain and runs cpack. Each installed file belongs to a component: library, development,
# tool or, if it is built, lttng.
set(LARDER_PACKAGE_MAINTAINER "The Larder developers <developers@larder.invalid>"
  CACHE STRING "Name and address in the .deb files")
get_cmake_property(installed COMPONENTS)
set(CPACK_COMPONENTS_ALL library development tool)
if(lttng IN_LIST installed)
  list(APPEND CPACK_COMPONENTS_ALL lttng)
endif()
set(CPACK_PACKAGE_NAME larder)
set(CPACK_PACKAGE_VENDOR "The Larder developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
# No package is made without the licenses of all that it contains.
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/larder-before-packing.cmake)
set(CPACK_LARDER_MISSING_LICENSES ${LARDER_MISSING_LICENSES})

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME larder-${PROJECT_VERSION}-windows-x64)
else()
  include(${CMAKE_CURRENT_LIST_DIR}/debian/packages.cmake)
endif()
include(CPack)

add_custom_target(packages COMMAND ${CMAKE_CPACK_COMMAND}
  WORKING_DIRECTORY ${CMAKE_BINARY_DIR} USES_TERMINAL VERBATIM)
add_dependencies(packages larder larder_tool feed-file feed-stats feed-test stock-file-query)
foreach(target larder_import_library larder_lttng larder_manual)
  if(TARGET ${target})
    add_dependencies(packages ${target})
  endif()
endforeach()
