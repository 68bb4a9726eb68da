# Fills larder.1.in into PAGE. PROGRAM: command that runs larder. The date is today's, or that of
# SOURCE_DATE_EPOCH.
cmake_policy(VERSION 3.25)
execute_process(COMMAND ${PROGRAM} print-manual OUTPUT_VARIABLE sections COMMAND_ERROR_IS_FATAL ANY)
set(version ${VERSION})
set(modules ${MODULES})
string(TIMESTAMP date %Y-%m-%d UTC)
configure_file(${CMAKE_CURRENT_LIST_DIR}/larder.1.in ${PAGE} @ONLY)
