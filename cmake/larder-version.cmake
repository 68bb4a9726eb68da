# larder_version_resource(TARGET TEXT): on Windows, gives the file of a program or library a version
# resource, which the system shows among the file's properties. TEXT describes the file.
function(larder_version_resource target text)
  if(NOT WIN32)
    return()
  endif()
  get_target_property(name ${target} OUTPUT_NAME)
  get_target_property(type ${target} TYPE)
  set(extension .dll)
  set(kind 0x2)  # VFT_DLL
  if(type STREQUAL EXECUTABLE)
    set(extension .exe)
    set(kind 0x1)  # VFT_APP
  endif()
  set(resource ${CMAKE_CURRENT_BINARY_DIR}/${name}-version.rc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${resource} @ONLY)
  target_sources(${target} PRIVATE ${resource})
endfunction()
