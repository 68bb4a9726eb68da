# Fails unless the built file LIBRARY exports exactly the names in LIST.
# -DLIBRARY=file -DLIST=file with a name on each line, -DPE=0|1, and OBJDUMP (PE) or NM (ELF)
cmake_policy(VERSION 3.25)

# The names in a PE file's export table.
function(pe_exports out)
  execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY}
    OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "[" "<" text "${text}")  # CMake doesn't split a list at a lone bracket
  string(REPLACE "]" ">" text "${text}")
  string(FIND "${text}" "<Ordinal/Name Pointer> Table" begin)
  if(begin EQUAL -1)
    message(FATAL_ERROR "${LIBRARY} has no export table")
  endif()
  string(SUBSTRING "${text}" ${begin} -1 table)
  string(REGEX MATCHALL "\n[ \t]+< *[0-9]+> [^\n]+" rows "${table}")
  list(TRANSFORM rows REPLACE "^.*> " "")
  # An export without a name is in the address table only.
  string(REGEX MATCHALL "(Export|Forwarder) RVA" addresses "${text}")
  list(LENGTH rows nameCount)
  list(LENGTH addresses addressCount)
  if(NOT nameCount EQUAL addressCount)
    message(FATAL_ERROR "${LIBRARY} has ${addressCount} exports and ${nameCount} names for them")
  endif()
  set(${out} "${rows}" PARENT_SCOPE)
endfunction()

# The symbols that an ELF file exports.
function(elf_exports out)
  execute_process(COMMAND ${NM} --dynamic --defined-only --format=posix ${LIBRARY}
    OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]+" rows "${text}")
  list(TRANSFORM rows REPLACE " .*$" "")
  set(${out} "${rows}" PARENT_SCOPE)
endfunction()

file(STRINGS ${LIST} want REGEX "^[A-Za-z_]")
if(NOT want)
  message(FATAL_ERROR "${LIST} names nothing")
endif()
if(PE)
  pe_exports(have)
else()
  elf_exports(have)
endif()

set(missing ${want})
list(REMOVE_ITEM missing ${have})
set(surplus ${have})
list(REMOVE_ITEM surplus ${want})
if(missing OR surplus)
  list(JOIN missing " " missing)
  list(JOIN surplus "\n  " surplus)
  message(FATAL_ERROR "${LIBRARY}\n missing exports: ${missing}\n exports not in ${LIST}:\n  ${surplus}")
endif()
list(LENGTH have count)
message(STATUS "${count} exports, as listed")
