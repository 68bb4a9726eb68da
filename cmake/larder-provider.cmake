# larder_provider(NAME SOURCES source ... [LIBRARIES target ...] [EXPORTS list])
# Adds a provider module as a target of this name. Its file is NAME.dll on every system, so that the
# registry's data is the same. It exports the names in the list: GetProvider, unless EXPORTS gives
# another list (of the form of larder-provider-exports.txt). Larder's own modules are built by it too;
# other authors get it with find_package(larder).
include(${CMAKE_CURRENT_LIST_DIR}/larder-exports.cmake)

function(larder_provider name)
  if(MSVC)
    message(FATAL_ERROR "${name}: the library can't load providers of Microsoft's compiler, because "
      "its virtual tables and exceptions are others. Build it with MinGW-w64.")
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 P "" "EXPORTS" "SOURCES;LIBRARIES")
  if(NOT P_EXPORTS)
    set(P_EXPORTS ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/larder-provider-exports.txt)
  endif()
  add_library(${name} MODULE ${P_SOURCES})
  set_target_properties(${name} PROPERTIES OUTPUT_NAME ${name} PREFIX "" SUFFIX ".dll")
  if(NOT WIN32)
    set_target_properties(${name} PROPERTIES
      CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    # A unique symbol keeps a module loaded. Larder's own targets are built without them anyway.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT TARGET larder_options)
      target_compile_options(${name} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
    endif()
  endif()
  target_link_libraries(${name} PRIVATE
    larder::provider-sdk ${P_LIBRARIES} $<TARGET_NAME_IF_EXISTS:larder_options>)
  larder_apply_exports(${name} ${P_EXPORTS})
endfunction()
