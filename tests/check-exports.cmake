# Fails unless the built file LIBRARY exports exactly the names in LIST.
# -DLIBRARY=file -DLIST=file with a name on each line, -DPE=0|1, and OBJDUMP (PE) or NM (ELF)
cmake_policy(VERSION 3.25)

if(PE)
  execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "[" "<" text "${text}")  # CMake doesn't split a list at a lone bracket
  string(REPLACE "]" ">" text "${text}")
  string(REGEX REPLACE "^.*<Ordinal/Name Pointer> Table" "" text "${text}")
  string(REGEX MATCHALL "\n[ \t]+< *[0-9]+> [^\n]+" have "${text}")
  list(TRANSFORM have REPLACE "^.*> " "")
else()
  execute_process(COMMAND ${NM} --dynamic --defined-only --format=posix ${LIBRARY}
    OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]+" have "${text}")
  list(TRANSFORM have REPLACE " .*$" "")
endif()

file(STRINGS ${LIST} want REGEX "^[A-Za-z_]")
set(missing ${want})
list(REMOVE_ITEM missing ${have})
set(surplus ${have})
list(REMOVE_ITEM surplus ${want})
if(missing OR surplus)
  list(JOIN missing " " missing)
  list(JOIN surplus "\n  " surplus)
  message(FATAL_ERROR "${LIBRARY}\n missing exports: ${missing}\n exports not in ${LIST}:\n  ${surplus}")
endif()
