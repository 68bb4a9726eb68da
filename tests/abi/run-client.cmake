# Runs PROGRAM with ARGUMENTS in the modules' folder, on a machine where PROVIDERS (name=file) are
# registered. Fails unless it exits with 0 and prints the SHA-256 of the file DIGEST_OF.
include(${CMAKE_CURRENT_LIST_DIR}/machine.cmake)

machine_make()
machine_register(".\\" ${PROVIDERS})
machine_run(status out ${PROGRAM} ${ARGUMENTS})
machine_destroy()
file(SHA256 ${DIGEST_OF} digest)
if(NOT status EQUAL 0 OR NOT out STREQUAL "${digest}\n")
  message(FATAL_ERROR "exit status ${status}, printed:\n${out}\nexpected:\n${digest}\n")
endif()
