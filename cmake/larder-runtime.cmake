# Exceptions cross between the library, the modules and the client, so all of them share one C++
# runtime: no -static, and copies of the runtime's libraries beside the programs.
function(larder_copy_runtime target)
  set(libraries)
  foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
      OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    file(REAL_PATH ${path} path)
    list(APPEND libraries ${path})
  endforeach()
  set_property(GLOBAL APPEND PROPERTY LARDER_RUNTIME_LIBRARIES ${libraries})
  file(COPY ${libraries} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  install(FILES ${libraries} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library)
endfunction()
