# Clients that only Windows has, part of install-test.cmake.
#
# Without the DLLs beside it, a program of another folder loads the library by its full path.
string(REPLACE "/" "\\" bin "${modules}/${BINDIR}")
set(ENV{LARDER_LIBRARY} "L:\\${bin}\\larder.dll")
file(MAKE_DIRECTORY ${FOLDER}/host)
file(COPY ${consumer}/load-larder.exe DESTINATION ${FOLDER}/host)
expect("No data available\n" ${FOLDER}/host/load-larder.exe)

# Microsoft's ABI: every header of the C interface, and a client linked with the import library.
set(compile ${CLANG} --target=x86_64-pc-windows-msvc -Wall -Wextra -pedantic -Werror -I${prefix}/include)
foreach(header feed-file feed-stats larder records)
  foreach(language c11 c++11)
    string(REGEX REPLACE "[0-9]+$" "" kind ${language})
    must_run(${compile} -std=${language} -x ${kind}-header -fsyntax-only ${prefix}/include/larder/${header}.h)
  endforeach()
endforeach()
set(folder ${FOLDER}/microsoft)
file(MAKE_DIRECTORY ${folder})
must_run(${LLVM_DLLTOOL} -m i386:x86-64 -d ${CMAKE_CURRENT_LIST_DIR}/kernel32.def -l ${folder}/kernel32.lib)
must_run(${compile} -std=c11 -c ${CMAKE_CURRENT_LIST_DIR}/microsoft-client.c -o ${folder}/client.obj)
must_run(${LLD_LINK} /nodefaultlib /entry:Start /subsystem:console /out:${folder}/client.exe
  ${folder}/client.obj ${prefix}/${LIBDIR}/larder.lib ${folder}/kernel32.lib)
file(GLOB dlls ${prefix}/${BINDIR}/lib*-?.dll)
file(COPY ${prefix}/${BINDIR}/larder.dll ${dlls} DESTINATION ${folder})
file(SHA256 ${folder}/client.exe clientDigest)
expect("${clientDigest}\n" ${folder}/client.exe)
