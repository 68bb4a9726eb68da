# A machine for tests that run programs: its registry is empty until the test registers something.
#
# MACHINE   a folder. On Linux it stands for "/". On Windows programs use the registry of the wine
#           prefix that all tests share: such tests hold the lock machine-registry.
# TOOL      the program larder
# EMULATOR  runs programs of the target system; may be empty
cmake_policy(VERSION 3.25)

# machine_run(result out COMMAND...): out receives the standard output. No pipe is used, since an
# emulator's helpers could hold it open.
function(machine_run result out)
  execute_process(COMMAND ${EMULATOR} ${ARGN} RESULT_VARIABLE status
    OUTPUT_FILE ${MACHINE}.out ERROR_FILE ${MACHINE}.err TIMEOUT 60)
  file(READ ${MACHINE}.out text)
  file(READ ${MACHINE}.err errors)
  string(REPLACE "\r\n" "\n" text "${text}")
  if(errors)
    message(STATUS "${ARGN}\n${errors}")
  endif()
  set(${result} ${status} PARENT_SCOPE)
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

function(machine_clear_registry)
  foreach(subkey DataProviders Install)  # fails for a key that doesn't exist, which is fine
    execute_process(COMMAND ${EMULATOR} ${TOOL} registry delete ${subkey}
      OUTPUT_FILE /dev/null ERROR_FILE /dev/null TIMEOUT 60)
  endforeach()
endfunction()

function(machine_make)
  file(REMOVE_RECURSE ${MACHINE})
  file(MAKE_DIRECTORY ${MACHINE})
  set(ENV{LARDER_ROOT} ${MACHINE})
  machine_clear_registry()
endfunction()

# machine_register(location [name=file ...])
function(machine_register location)
  machine_run(status out ${TOOL} registry set Install szLocation "${location}")
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "szLocation couldn't be set: ${status}")
  endif()
  foreach(provider IN LISTS ARGN)
    string(REGEX MATCH "^(.*)=(.*)$" provider ${provider})
    machine_run(status out ${TOOL} registry set "DataProviders\\${CMAKE_MATCH_1}" szDLL ${CMAKE_MATCH_2})
    if(NOT status EQUAL 0)
      message(FATAL_ERROR "${provider} couldn't be registered: ${status}")
    endif()
  endforeach()
endfunction()

# Leaves the registry as empty as it was found.
function(machine_destroy)
  machine_clear_registry()
  file(REMOVE_RECURSE ${MACHINE})
endfunction()
