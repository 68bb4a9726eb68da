// The modules of the measurements of LarderInit.
#pragma once

#include <string>
#include <vector>

#include "machine.h"
#include "suite.h"

namespace larder {

// The first ones, as the benchmark's argument says.
inline std::vector<std::string> ModulesOf(const benchmark::State& state) {
  const std::vector<std::string> all = {"feed-test.dll", "feed-stats.dll", "feed-ready.dll"};
  return {all.begin(), all.begin() + state.range(0)};
}

}  // namespace larder
