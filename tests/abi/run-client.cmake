# Runs PROGRAM with ARGUMENTS on a machine where PROVIDERS (name=file) are registered, in the folder
# that holds their modules; fails unless it exits with 0 and prints EXPECTED and nothing else.
include(${CMAKE_CURRENT_LIST_DIR}/machine.cmake)

machine_make()
if(PROVIDERS)
  machine_register(".\\" ${PROVIDERS})
endif()
machine_run(status out ${PROGRAM} ${ARGUMENTS})
machine_destroy()
if(DIGEST_OF)
  file(SHA256 ${DIGEST_OF} digest)
  string(REPLACE "DIGEST" "${digest}" EXPECTED "${EXPECTED}")
endif()
if(NOT status EQUAL 0 OR NOT out STREQUAL "${EXPECTED}\n")
  message(FATAL_ERROR "exit status ${status}, printed:\n${out}\nexpected:\n${EXPECTED}\n")
endif()
