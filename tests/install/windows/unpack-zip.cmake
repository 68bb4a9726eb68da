# Makes the package with cpack from the build folder BUILD and unpacks it into FOLDER. Checks what
# isn't used by running it: licenses and version resources. See CMakeLists.txt for the variables.
cmake_policy(VERSION 3.25)

if(NOT DEFINED ENV{WINEPREFIX})
  set(ENV{WINEPREFIX} ${BUILD}/wine)
endif()
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
execute_process(COMMAND ${CPACK} -B ${FOLDER}/package WORKING_DIRECTORY ${BUILD}
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(ARCHIVE_EXTRACT INPUT ${FOLDER}/package/${NAME}.zip DESTINATION ${FOLDER})
set(tree ${FOLDER}/${NAME})

file(GLOB have RELATIVE ${tree}/share/doc/larder/licenses ${tree}/share/doc/larder/licenses/*)
set(want cli11 gcc-runtime gpl-3 larder mingw-w64-winpthreads nlohmann-json sqlite xxhash)
if(NOT have STREQUAL want)
  message(FATAL_ERROR "the licenses are ${have}")
endif()
file(STRINGS ${tree}/share/doc/larder/licenses/gcc-runtime exception REGEX "^GCC RUNTIME LIBRARY EXCEPTION")
file(STRINGS ${tree}/share/doc/larder/licenses/mingw-w64-winpthreads threads REGEX "^Files:.*/winpthreads/")
if(NOT exception OR NOT threads)
  message(FATAL_ERROR "the licenses of the C++ runtime aren't those of its libraries")
endif()

file(GLOB files ${tree}/bin/*)
foreach(file IN LISTS files)
  execute_process(COMMAND ${OBJDUMP} -h ${file} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  if(text MATCHES "\\.debug_")
    message(FATAL_ERROR "${file} isn't stripped")
  endif()
endforeach()
list(FILTER files EXCLUDE REGEX "/lib[^/]*-[0-9]+\\.dll$")  # the C++ runtime
foreach(file IN LISTS files)
  execute_process(COMMAND ${WINDRES} -O rc -i ${file} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  cmake_path(GET file FILENAME name)
  string(REPLACE . ", " numbers ${VERSION}.0)
  foreach(line "FILEVERSION ${numbers}" "PRODUCTVERSION ${numbers}" "\"FileVersion\", \"${VERSION}\""
      "\"OriginalFilename\", \"${name}\"" "\"FileDescription\", \"Larder ")
    if(NOT text MATCHES "${line}")
      message(FATAL_ERROR "${name} has no ${line}:\n${text}")
    endif()
  endforeach()
endforeach()
list(LENGTH files count)
if(NOT count EQUAL 6)
  message(FATAL_ERROR "the programs and libraries are ${files}")
endif()

# The tests' drive L: the paths of the unpacked modules must fit into the registry. Wine makes a
# prefix when it runs its first program, and only if there is no part of it yet.
execute_process(COMMAND ${EMULATOR} ${tree}/bin/larder.exe --version
  OUTPUT_FILE ${FOLDER}/out ERROR_FILE ${FOLDER}/out COMMAND_ERROR_IS_FATAL ANY)
cmake_path(GET FOLDER PARENT_PATH drive)
file(CREATE_LINK ${drive} $ENV{WINEPREFIX}/dosdevices/l: SYMBOLIC)
