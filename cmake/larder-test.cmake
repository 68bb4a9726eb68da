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

# larder_test(NAME SOURCES ... [FAKES group ...] [LIBRARIES target ...] [PROPERTIES name value ...])
# A test of the library's inside: its objects are linked as they stand.
# FAKES replaces a whole platform group: tests/fakes/fake-<group>.cpp is compiled into the program, so
# the linker never takes that member out of the larder_platform archive. A fake that forgets an
# operation is a link error.
function(larder_test name)
  cmake_parse_arguments(PARSE_ARGV 1 T "" "" "SOURCES;FAKES;LIBRARIES;PROPERTIES")
  add_executable(${name} ${T_SOURCES} ${PROJECT_SOURCE_DIR}/tests/testing/recorded-log.cpp)
  foreach(group IN LISTS T_FAKES)
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/fakes/fake-${group}.cpp)
  endforeach()
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE
    larder_core larder_base ${T_LIBRARIES} larder_testing larder_platform larder_options gmock gtest_main)
  gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 120 ${T_PROPERTIES})
endfunction()
