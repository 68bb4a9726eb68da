# The licences of everything that is shipped, in share/doc/larder/licenses. Each comes from where its
# code comes from; a package isn't made without them.
set(licenses ${CMAKE_INSTALL_DATADIR}/doc/larder/licenses)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${licenses} RENAME larder COMPONENT library)

# larder_install_license(NAME FILE COMPONENT)
function(larder_install_license name file component)
  if(EXISTS ${file})
    install(FILES ${file} DESTINATION ${licenses} RENAME ${name} COMPONENT ${component})
  elseif(LARDER_PACKAGING)
    message(FATAL_ERROR "The licence of ${name}, ${file}, is missing.")
  endif()
endfunction()

set(debian /usr/share/doc)
larder_install_license(cli11 ${debian}/libcli11-dev/copyright tool)
larder_install_license(nlohmann-json ${debian}/nlohmann-json3-dev/copyright tool)
larder_install_license(sqlite ${LARDER_SQLITE_SOURCE}/LICENSE.md tool)
larder_install_license(xxhash ${debian}/libxxhash-dev/copyright tool)
if(WIN32)
  larder_install_license(gcc-runtime ${debian}/gcc-mingw-w64-base/copyright library)
  larder_install_license(winpthreads ${debian}/mingw-w64-x86-64-dev/copyright library)
endif()
