# A machine for tests that run programs: an empty registry, then what the test sets in it.
#
# MACHINE   a folder. On Linux it stands for "/". On Windows programs see the registry of the wine
#           prefix that all tests share: tests that need it hold the lock machine-registry.
# TOOL      the program larder
# EMULATOR  what runs programs of the target system; empty for nothing
cmake_policy(VERSION 3.25)

# machine_run(result out COMMAND...): out has what went to standard output. Not through a pipe, which
# an emulator's helpers could hold open.
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
  foreach(subkey DataProviders Install)  # a key that isn't there is a failure, and is well
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
