# benchmark::benchmark: Debian's library; for Windows it is built from Debian's source package,
# which tools/fetch-source.sh fetches.
if(NOT WIN32)
  find_package(benchmark REQUIRED)
  return()
endif()
set(LARDER_BENCHMARK_SOURCE ${PROJECT_SOURCE_DIR}/build/downloads/benchmark CACHE PATH
  "Sources of Google Benchmark")
foreach(feature TESTING GTEST_TESTS INSTALL WERROR)
  set(BENCHMARK_ENABLE_${feature} OFF)
endforeach()
set(GIT_VERSION 0.0.0)  # unknown; Debian's build sets it
set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)  # its options obey these variables
add_subdirectory(${LARDER_BENCHMARK_SOURCE} ${CMAKE_BINARY_DIR}/_benchmark EXCLUDE_FROM_ALL)
