include(GoogleTest)
set(INSTALL_GTEST OFF)
set(LARDER_GTEST_DIR /usr/src/googletest CACHE PATH "GoogleTest source")
add_subdirectory(${LARDER_GTEST_DIR} ${CMAKE_BINARY_DIR}/_gtest EXCLUDE_FROM_ALL)
foreach(t gtest gtest_main gmock gmock_main)
  set_target_properties(${t} PROPERTIES CXX_VISIBILITY_PRESET default)
  if(LARDER_SANITIZE)
    target_compile_options(${t} PUBLIC -fsanitize=${LARDER_SANITIZE})
    target_link_options(${t} PUBLIC -fsanitize=${LARDER_SANITIZE})
  endif()
endforeach()

# larder_test_program(NAME SOURCES ... [LIBRARIES target ...]): adds a GoogleTest program.
function(larder_test_program name)
  cmake_parse_arguments(PARSE_ARGV 1 T "" "" "SOURCES;LIBRARIES")
  add_executable(${name} ${T_SOURCES})
  target_precompile_headers(${name} REUSE_FROM larder_test_headers)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE
    ${T_LIBRARIES} larder_testing larder_platform larder_options gmock gtest_main)
endfunction()

# larder_discover_tests(NAME [PROPERTIES name value ...] [ARGUMENT of gtest_discover_tests ...]):
# registers the program's tests one by one, when ctest runs.
function(larder_discover_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 T "" "" "PROPERTIES")
  gtest_discover_tests(${name} ${T_UNPARSED_ARGUMENTS} NO_PRETTY_VALUES
    DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 120 ${T_PROPERTIES})
endfunction()

# larder_test(NAME SOURCES ... [FAKES group ...] [LIBRARIES target ...] [PROPERTIES name value ...])
# A test of the library's internals, which links its objects.
# FAKES replaces whole platform groups: tests/fakes/fake-<group>.cpp is compiled into the program, so
# that the linker doesn't take that member of the larder_platform archive. A fake that lacks an
# operation is a link error.
function(larder_test name)
  cmake_parse_arguments(PARSE_ARGV 1 T "" "" "SOURCES;FAKES;LIBRARIES;PROPERTIES")
  larder_test_program(${name} SOURCES ${T_SOURCES} LIBRARIES larder_core larder_base ${T_LIBRARIES})
  foreach(group IN LISTS T_FAKES)
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/fakes/fake-${group}.cpp)
  endforeach()
  larder_discover_tests(${name} PROPERTIES ${T_PROPERTIES})
endfunction()

# larder_provider_check_exports(NAME [list]): a test that reads the built module.
function(larder_provider_check_exports name)
  set(list ${PROJECT_SOURCE_DIR}/cmake/larder-provider-exports.txt)
  if(ARGC GREATER 1)
    set(list ${ARGV1})
  endif()
  add_test(NAME exports-of-${name} COMMAND ${CMAKE_COMMAND}
    -DLIBRARY=$<TARGET_FILE:${name}> -DLIST=${list} -DPE=$<BOOL:${WIN32}>
    -DOBJDUMP=${CMAKE_OBJDUMP} -DNM=${CMAKE_NM} -P ${PROJECT_SOURCE_DIR}/tests/check-exports.cmake)
endfunction()
