# See CMakeLists.txt for the variables.
include(${CMAKE_CURRENT_LIST_DIR}/../abi/machine.cmake)

set(prefix ${FOLDER}/prefix)
set(consumer ${FOLDER}/consumer)

function(must_run)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE out ERROR_VARIABLE out RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\nexit status ${status}\n${out}")
  endif()
endfunction()

function(build_consumer)
  set(settings -DCMAKE_BUILD_TYPE=${BUILD_TYPE} -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_C_COMPILER=${CC}
    -DCMAKE_PREFIX_PATH=${prefix} -DCLIENT=${CLIENT} -DPROVIDER=${PROVIDER})
  if(TOOLCHAIN)  # it looks for packages below its own root alone
    list(APPEND settings -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -Dlarder_DIR=${prefix}/${LIBDIR}/cmake/larder)
  endif()
  if(SANITIZE)  # the program itself must contain the runtime
    list(APPEND settings -DCMAKE_C_FLAGS=-fsanitize=${SANITIZE} -DCMAKE_CXX_FLAGS=-fsanitize=${SANITIZE})
  endif()
  must_run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${CONSUMER} -B ${consumer} ${settings})
  must_run(${CMAKE_COMMAND} --build ${consumer})
endfunction()

# expect(expression COMMAND...): succeeds, and prints what matches the expression.
function(expect expected)
  machine_run(status out ${ARGN})
  if(NOT status EQUAL 0 OR NOT out MATCHES "^${expected}$")
    message(FATAL_ERROR "${ARGN}: exit status ${status}, printed:\n${out}\nexpected:\n${expected}")
  endif()
endfunction()

file(REMOVE_RECURSE ${FOLDER})
must_run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
foreach(header feed-file.h feed-stats.h larder.h provider.h records.h)
  if(NOT EXISTS ${prefix}/include/larder/${header})
    message(FATAL_ERROR "${header} isn't installed")
  endif()
endforeach()
build_consumer()

# Only the installed files run: programs find the library and the C++ runtime there. The providers'
# folders are relative to this test's, because a text in the registry has at most 98 characters.
set(ENV{WINEPATH} Z:${prefix}/${BINDIR})
if(NOT DEFINED ENV{WINEPREFIX})  # by default programs of the consumer's build folder get a prefix of their own
  set(ENV{WINEPREFIX} ${BUILD}/wine)
endif()
set(TOOL ${prefix}/${BINDIR}/larder${EXE})
set(cClient ${consumer}/consumer-c-client${EXE})
set(file ${CMAKE_CURRENT_LIST_FILE})
file(SHA256 ${file} digest)
machine_make()
expect("text: 8\nends in: s\ninit: -3\ninit again: -3\nquery: -5\nwrite: -5\nfree: -5\nrelease: -5\nrelease: -5\nrelease: -5\n"
  ${cClient})

machine_register(".\\installed\\consumer\\" PathLength=path-length.dll)
expect("text: 8\nends in: s\ninit: 0\ninit again: -11\nquery: -4\nwrite: -4\nfree: -5\nrelease: 0\nrelease: 0\nrelease: -5\n"
  ${cClient})
expect("file .*\ntype +4\nsize +12\n.*" ${TOOL} query --type 4 ${file})

machine_make()
machine_register(".\\installed\\prefix\\${MODULE_FOLDER}\\" FeedFile=feed-file.dll FeedTest=feed-test.dll
  FeedStats=feed-stats.dll)
expect(".*sha256 +${digest}\n.*" ${TOOL} query ${file})
expect("${digest}\n" ${consumer}/consumer-client${EXE} ${file})
machine_destroy()
