# See CMakeLists.txt for the variables. MACHINE is a folder that stands for "/" on Linux. On Windows
# programs use the registry of the wine prefix that all tests share.
cmake_policy(VERSION 3.25)

set(prefix ${PREFIX})
set(consumer ${FOLDER}/consumer)

function(must_run)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE out ERROR_VARIABLE out RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\nexit status ${status}\n${out}")
  endif()
endfunction()

# build(source folder [-D...])
function(build source folder)
  set(settings -DCMAKE_BUILD_TYPE=${BUILD_TYPE} -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_C_COMPILER=${CC}
    -DCMAKE_PREFIX_PATH=${prefix} ${ARGN})
  if(TOOLCHAIN)  # it looks for packages below its own root alone
    list(APPEND settings -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -Dlarder_DIR=${prefix}/${LIBDIR}/cmake/larder)
  endif()
  if(SANITIZE)  # the program itself must contain the runtime
    list(APPEND settings -DCMAKE_C_FLAGS=-fsanitize=${SANITIZE} -DCMAKE_CXX_FLAGS=-fsanitize=${SANITIZE}
      -DLARDER_SANITIZE=${SANITIZE})
  endif()
  must_run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${source} -B ${folder} ${settings})
  must_run(${CMAKE_COMMAND} --build ${folder})
endfunction()

# expect(expression COMMAND...): succeeds, and prints what matches the expression. No pipe is used,
# since an emulator's helpers could hold it open.
function(expect expected)
  execute_process(COMMAND ${EMULATOR} ${ARGN} RESULT_VARIABLE status
    OUTPUT_FILE ${FOLDER}/out ERROR_FILE ${FOLDER}/errors TIMEOUT 60)
  file(READ ${FOLDER}/out out)
  file(READ ${FOLDER}/errors errors)
  string(REPLACE "\r\n" "\n" out "${out}")
  if(NOT status EQUAL 0 OR NOT out MATCHES "^${expected}$")
    message(FATAL_ERROR
      "${ARGN}: exit status ${status}, printed:\n${out}${errors}\nexpected:\n${expected}")
  endif()
endfunction()

function(clear_registry)
  foreach(subkey DataProviders Install)  # fails for a key that doesn't exist, which is fine
    execute_process(COMMAND ${EMULATOR} ${TOOL} registry delete ${subkey}
      OUTPUT_FILE /dev/null ERROR_FILE /dev/null TIMEOUT 60)
  endforeach()
endfunction()

# register(location [name file] ...): nothing else is registered.
function(register location)
  clear_registry()
  expect(".*" ${TOOL} registry set Install szLocation "${location}")
  while(ARGN)
    list(POP_FRONT ARGN provider file)
    expect(".*" ${TOOL} registry set "DataProviders\\${provider}" szDLL ${file})
  endwhile()
endfunction()

file(REMOVE_RECURSE ${FOLDER} ${MACHINE})
file(MAKE_DIRECTORY ${MACHINE})
set(ENV{LARDER_ROOT} ${MACHINE})
if(NOT EXISTS ${prefix})
  must_run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
endif()
file(GLOB headers RELATIVE ${prefix}/include/larder ${prefix}/include/larder/*)
if(NOT headers STREQUAL "client.hpp;feed-file.h;feed-stats.h;larder.h;provider.h;records.h")
  message(FATAL_ERROR "the installed headers are ${headers}")
endif()
build(${CONSUMER} ${consumer} -DSAMPLE=${SAMPLE} -DPROVIDER=${PROVIDER})

if(NOT DEFINED ENV{WINEPREFIX})  # by default programs of the consumer's build folder get a prefix of their own
  set(ENV{WINEPREFIX} ${BUILD}/wine)
endif()
set(TOOL ${prefix}/${BINDIR}/larder${EXE})
set(cClient ${consumer}/consumer-c-client${EXE})
set(file ${CMAKE_CURRENT_LIST_FILE})
file(SHA256 ${file} digest)
clear_registry()
expect("text: 8\nends in: s\ninit: -3\ninit again: -3\nquery: -5\nwrite: -5\nfree: -5\nrelease: -5\nrelease: -5\nrelease: -5\n"
  ${cClient})

# The providers' folders are relative to this test's, because a text in the registry has at most 98
# characters. On Windows, where the tool loads no module by a path that begins at the current folder,
# they are on the drive L:, which is this test's folder.
cmake_path(GET FOLDER PARENT_PATH here)
cmake_path(RELATIVE_PATH prefix BASE_DIRECTORY ${here} OUTPUT_VARIABLE modules)
string(REPLACE "/" "\\" modules "${modules}")
set(here ".\\")
if(EXE)
  set(here "L:\\")
  set(file Z:${file})
endif()

register("${here}installed\\consumer\\" PathLength path-length.dll)
expect("text: 8\nends in: s\ninit: 0\ninit again: -11\nquery: -4\nwrite: -4\nfree: -5\nrelease: 0\nrelease: 0\nrelease: -5\n"
  ${cClient})
expect("file .*\ntype +4\nsize +12\n.*" ${TOOL} query --type 4 ${file})

register("${here}${modules}\\${MODULE_FOLDER}\\"
  FeedFile feed-file.dll FeedTest feed-test.dll FeedStats feed-stats.dll)
expect(".*sha256 +${digest}\n.*" ${TOOL} query ${file})
foreach(extension c cpp)
  expect("${digest}\n" ${consumer}/${extension}-client${EXE} ${file})
endforeach()
if(EXE)
  include(${CMAKE_CURRENT_LIST_DIR}/windows/clients.cmake)
endif()
if(PYTHON AND NOT SANITIZE)  # it contains no runtime of a sanitizer
  set(ENV{PYTHONPATH} ${prefix}/${PYTHONDIR})
  expect("${digest}\n" ${PYTHON} ${SAMPLE}.py ${file})
endif()
clear_registry()

# What "larder new provider" makes can be built, tested and registered at once.
set(feed ${FOLDER}/my-feed)
execute_process(COMMAND ${EMULATOR} ${TOOL} new provider my-feed --type 5
  WORKING_DIRECTORY ${FOLDER} OUTPUT_FILE ${FOLDER}/out COMMAND_ERROR_IS_FATAL ANY)
build(${feed} ${feed}/build)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${feed}/build --target test
  OUTPUT_FILE ${FOLDER}/out RESULT_VARIABLE status)
file(READ ${FOLDER}/out out)
if(NOT status EQUAL 0 OR NOT out MATCHES "my-feed-keeps-the-rules .*Passed")
  message(FATAL_ERROR "the tests of the new provider:\n${out}")
endif()
if(NOT EXE)  # a Windows machine has no root but its own
  must_run(${CMAKE_COMMAND} --build ${feed}/build --target register)
  set(ENV{LARDER_ROOT} ${feed}/build/machine)
  expect("file .*\ntype +5\nsize +12\n.*" ${TOOL} query --type 5 ${file})
endif()
