# larder_provider(NAME SOURCES source ... [LIBRARIES target ...] [EXPORTS list])
# Adds a provider module. Its file is NAME.dll on every system, so that the registry's data is the
# same. It is built from the public headers like an outside author's module, and exports the names in
# the list: GetProvider, unless EXPORTS gives another list (of the form of providers/exports.txt).
function(larder_provider name)
  cmake_parse_arguments(PARSE_ARGV 1 P "" "EXPORTS" "SOURCES;LIBRARIES")
  if(NOT P_EXPORTS)
    set(P_EXPORTS ${PROJECT_SOURCE_DIR}/providers/exports.txt)
  endif()
  add_library(${name} MODULE ${P_SOURCES})
  set_target_properties(${name} PROPERTIES OUTPUT_NAME ${name} PREFIX "" SUFFIX ".dll")
  target_link_libraries(${name} PRIVATE larder_provider_sdk ${P_LIBRARIES} larder_options)
  larder_apply_exports(${name} ${P_EXPORTS})
endfunction()

# larder_provider_check_exports(NAME [list]): a test that reads the built module.
function(larder_provider_check_exports name)
  set(list ${PROJECT_SOURCE_DIR}/providers/exports.txt)
  if(ARGC GREATER 1)
    set(list ${ARGV1})
  endif()
  add_test(NAME exports-of-${name} COMMAND ${CMAKE_COMMAND}
    -DLIBRARY=$<TARGET_FILE:${name}> -DLIST=${list} -DPE=$<BOOL:${WIN32}>
    -DOBJDUMP=${CMAKE_OBJDUMP} -DNM=${CMAKE_NM} -P ${PROJECT_SOURCE_DIR}/tests/check-exports.cmake)
endfunction()
