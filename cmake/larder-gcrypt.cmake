# larder_gcrypt: libgcrypt, the shared library on both systems. On Windows its DLLs lie beside what
# runs, like the C++ runtime.
find_path(LARDER_GCRYPT_INCLUDE gcrypt.h REQUIRED)
find_library(LARDER_GCRYPT_LIBRARY NAMES libgcrypt.dll.a gcrypt REQUIRED)
mark_as_advanced(LARDER_GCRYPT_INCLUDE LARDER_GCRYPT_LIBRARY)

add_library(larder_gcrypt INTERFACE)
target_include_directories(larder_gcrypt SYSTEM INTERFACE ${LARDER_GCRYPT_INCLUDE})
target_link_libraries(larder_gcrypt INTERFACE ${LARDER_GCRYPT_LIBRARY})

if(WIN32)
  set(file libgcrypt-20.dll)
  set(dlls)
  foreach(name libgcrypt-20 libgpg-error-0)
    find_file(LARDER_${name}_DLL ${name}.dll PATHS /bin NO_DEFAULT_PATH REQUIRED)
    mark_as_advanced(LARDER_${name}_DLL)
    list(APPEND dlls ${LARDER_${name}_DLL})
  endforeach()
  set_property(GLOBAL APPEND PROPERTY LARDER_RUNTIME_LIBRARIES ${dlls})
  file(COPY ${dlls} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  install(FILES ${dlls} DESTINATION ${CMAKE_INSTALL_BINDIR})
else()
  execute_process(COMMAND ${CMAKE_OBJDUMP} -p ${LARDER_GCRYPT_LIBRARY} OUTPUT_VARIABLE text
    COMMAND_ERROR_IS_FATAL ANY)
  if(NOT text MATCHES "SONAME +([^ \n]+)")
    message(FATAL_ERROR "${LARDER_GCRYPT_LIBRARY} is no shared library")
  endif()
  set(file ${CMAKE_MATCH_1})
endif()
# The name by which the running program finds it.
target_compile_definitions(larder_gcrypt INTERFACE LARDER_GCRYPT_FILE="${file}")
