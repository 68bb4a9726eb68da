# Registers the module, and makes its folder that of all modules. On Linux that is done in a machine
# root of its own, a folder that stands for the whole machine: programs use it if LARDER_ROOT names
# it. Windows has one registry, and changing it needs an administrator; if it names another folder of
# modules, nothing is changed.
cmake_minimum_required(VERSION 3.25)
cmake_path(GET MODULE PARENT_PATH folder)
cmake_path(GET MODULE FILENAME file)
string(REPLACE "/" "\\" location "${folder}/")
string(LENGTH "${location}" length)
if(length GREATER 98)
  message(FATAL_ERROR "The library reads at most 98 characters: ${location}")
endif()

file(MAKE_DIRECTORY ${ROOT})
set(ENV{LARDER_ROOT} ${ROOT})
execute_process(COMMAND ${TOOL} registry get Install szLocation
  OUTPUT_VARIABLE other OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(other AND NOT other STREQUAL location)
  message(FATAL_ERROR "The machine's modules are in ${other}: install ${file} there, and run\n"
    "  larder registry set \"DataProviders\\{{name}}\" szDLL ${file}")
endif()
execute_process(COMMAND ${TOOL} registry set Install szLocation ${location}
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${TOOL} registry set "DataProviders\\{{name}}" szDLL ${file}
  COMMAND_ERROR_IS_FATAL ANY)
message("Ask the provider: LARDER_ROOT=${ROOT} larder query --type {{type}} FILE")
