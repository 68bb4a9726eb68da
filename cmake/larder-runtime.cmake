# Exceptions cross between the library, the modules and the client, so all of them share one C++
# runtime: no -static, and copies of the runtime's libraries beside the programs. The copies have no
# debug information, which is nine tenths of a library's size.
function(larder_copy_runtime target)
  set(libraries)
  file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
      OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    file(REAL_PATH ${path} path)
    execute_process(COMMAND ${CMAKE_STRIP} -p -o ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name} ${path}
      COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND libraries ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
  endforeach()
  install(FILES ${libraries} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library)
endfunction()
