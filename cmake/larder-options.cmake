# Compiler and linker options of every target in this project. Linked privately, so that none of them
# reaches a consumer.
add_library(larder_options INTERFACE)
target_link_libraries(larder_options INTERFACE larder_hardening)
target_compile_options(larder_options INTERFACE
  -Wall -Wextra -Wshadow -Wconversion
  $<$<COMPILE_LANGUAGE:CXX>:-Wsuggest-override>
  $<$<BOOL:${LARDER_WARNINGS_AS_ERRORS}>:-Werror>
  # Keeps the build machine's paths out of the binaries: __FILE__ and debug information are relative.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
  -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
target_compile_definitions(larder_options INTERFACE
  $<$<PLATFORM_ID:Windows>:UNICODE;_UNICODE;NOMINMAX;WIN32_LEAN_AND_MEAN;_WIN32_WINNT=0x0A00>)
if(NOT LARDER_SANITIZE)
  # Functions and data that nobody uses are left out of programs and libraries.
  target_compile_options(larder_options INTERFACE -ffunction-sections -fdata-sections)
  target_link_options(larder_options INTERFACE LINKER:--gc-sections)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT WIN32)
  # A module with unique symbols would never be unloaded by dlclose.
  target_compile_options(larder_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
endif()
if(LARDER_SANITIZE)
  target_compile_options(larder_options INTERFACE
    -fsanitize=${LARDER_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(larder_options INTERFACE -fsanitize=${LARDER_SANITIZE})
endif()
