# The licenses of everything that is shipped, in share/doc/larder/licenses. Each comes from where its
# code comes from. cpack makes no package without them: see larder-before-packing.cmake.
set(debian /usr/share/doc)
set(LARDER_OTHER_LICENSES
  cli11 ${debian}/libcli11-dev/copyright
  nlohmann-json ${debian}/nlohmann-json3-dev/copyright
  sqlite ${LARDER_SQLITE_SOURCE}/LICENSE.md
  xxhash ${debian}/libxxhash-dev/copyright)
if(WIN32)
  list(APPEND LARDER_OTHER_LICENSES
    gcc-runtime ${debian}/gcc-mingw-w64-base/copyright
    gpl-3 /usr/share/common-licenses/GPL-3  # gcc-runtime refers to it
    mingw-w64-winpthreads ${debian}/mingw-w64-x86-64-dev/copyright)
endif()

set(LARDER_MISSING_LICENSES)
set(licenses larder ${PROJECT_SOURCE_DIR}/LICENSE ${LARDER_OTHER_LICENSES})
while(licenses)
  list(POP_FRONT licenses name file)
  if(NOT EXISTS ${file})
    list(APPEND LARDER_MISSING_LICENSES ${file})
    continue()
  endif()
  install(FILES ${file} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/larder/licenses RENAME ${name}
    COMPONENT licenses)
endwhile()
