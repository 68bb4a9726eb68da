# larder.lib: the import library for Microsoft's linker and lld-link, beside larder.def, from which any
# tool can make one. It has the short members that Microsoft's own tools write. liblarder.dll.a isn't
# for those linkers: it relies on the order in which GNU's linker places its members.
find_program(LARDER_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14
  DOC "Makes the import library for Microsoft's linker (Debian: llvm)")
if(LARDER_LLVM_DLLTOOL)
  add_custom_command(OUTPUT larder.lib VERBATIM
    DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/larder.def
    COMMAND ${LARDER_LLVM_DLLTOOL} -m i386:x86-64 -d larder.def -l larder.lib)
  add_custom_target(larder_import_library ALL DEPENDS larder.lib)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/larder.def ${CMAKE_CURRENT_BINARY_DIR}/larder.lib
    DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
elseif(LARDER_PACKAGING)
  message(FATAL_ERROR "llvm-dlltool, which makes larder.lib, is missing.")
endif()
