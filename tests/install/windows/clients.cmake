# Clients that only Windows has, part of install-test.cmake.
#
# Without the DLLs beside it, a program of another folder loads the library by its full path.
string(REPLACE "/" "\\" bin "${modules}/${BINDIR}")
set(ENV{LARDER_LIBRARY} "L:\\${bin}\\larder.dll")
file(MAKE_DIRECTORY ${FOLDER}/host)
file(COPY ${consumer}/load-larder.exe DESTINATION ${FOLDER}/host)
expect("No data available\n" ${FOLDER}/host/load-larder.exe)

# Every header of the C interface for Microsoft's ABI. As system headers they would give no warnings.
foreach(header feed-file feed-stats larder records)
  foreach(language c c++)
    must_run(${CLANG} --target=x86_64-pc-windows-msvc -std=${language}11
      -Wall -Wextra -pedantic -Werror -fsyntax-only
      -I${prefix}/include -x ${language}-header ${prefix}/include/larder/${header}.h)
  endforeach()
endforeach()

# A client that clang-cl compiles and lld-link links with larder.lib. By that name clang takes the
# options of Microsoft's compiler.
set(source ${CMAKE_CURRENT_LIST_DIR}/microsoft)
set(folder ${FOLDER}/microsoft)
file(MAKE_DIRECTORY ${folder})
file(CREATE_LINK ${CLANG} ${folder}/clang-cl SYMBOLIC)
must_run(${LLVM_DLLTOOL} -m i386:x86-64 -d ${source}/kernel32.def -l ${folder}/kernel32.lib)
must_run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${source} -B ${folder} -DCMAKE_PREFIX_PATH=${prefix}
  -DCMAKE_BUILD_TYPE=${BUILD_TYPE} -DKERNEL32=${folder}/kernel32.lib -DCMAKE_SYSTEM_NAME=Windows
  -DCMAKE_C_COMPILER=${folder}/clang-cl -DCMAKE_C_COMPILER_TARGET=x86_64-pc-windows-msvc
  -DCMAKE_C_COMPILER_WORKS=ON -DCMAKE_C_STANDARD_LIBRARIES=
  -DCMAKE_LINKER=${LLD_LINK} -DCMAKE_MT=${LLVM_MT})
must_run(${CMAKE_COMMAND} --build ${folder})
file(READ ${folder}/import-library library)
if(NOT library STREQUAL "larder.lib")  # lld-link takes GNU's as well
  message(FATAL_ERROR "the client was linked with ${library}")
endif()
file(SHA256 ${folder}/client.exe clientDigest)
expect("${clientDigest}\n" ${folder}/client.exe)
