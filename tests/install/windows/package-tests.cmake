# Debian's packages clang, lld and llvm.
find_program(LARDER_CLANG clang REQUIRED DOC "Compiles for Microsoft's ABI")
find_program(LARDER_LLD_LINK lld-link REQUIRED DOC "Links it")
find_program(LARDER_LLVM_MT llvm-mt REQUIRED DOC "CMake looks for it beside lld-link")
find_program(LARDER_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 REQUIRED)

# The package for Windows. Its folder has a name with a space and a letter that isn't ASCII.
set(folder "${CMAKE_CURRENT_BINARY_DIR}/Entpackte Übung")
set(package larder-${PROJECT_VERSION}-windows-x64)
set(larderUnpacked ${folder}/${package})

add_test(NAME package-can-be-unpacked COMMAND ${CMAKE_COMMAND}
  -DBUILD=${PROJECT_BINARY_DIR} -DFOLDER=${folder} -DNAME=${package} -DVERSION=${PROJECT_VERSION}
  -DCPACK=${CMAKE_CPACK_COMMAND} -DWINDRES=${CMAKE_RC_COMPILER} -DOBJDUMP=${CMAKE_OBJDUMP}
  -DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}
  -P ${CMAKE_CURRENT_LIST_DIR}/unpack-zip.cmake)
add_test(NAME package-quick-start COMMAND ${CMAKE_CURRENT_LIST_DIR}/quick-start-test.sh
  ${PROJECT_SOURCE_DIR}/docs/quick-start.md ${folder}/package/${package}.zip
  ${folder}/quick-start ${CMAKE_CROSSCOMPILING_EMULATOR} ${PROJECT_BINARY_DIR}/wine)
set_tests_properties(package-can-be-unpacked PROPERTIES FIXTURES_SETUP package)
set_tests_properties(package-quick-start PROPERTIES
  FIXTURES_REQUIRED package RESOURCE_LOCK machine-registry)
