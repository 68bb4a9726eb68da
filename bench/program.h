// Measures whole programs.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "machine.h"
#include "suite.h"

namespace larder {

// Runs a program on the machine. Returns the seconds from its start to its end. Throws
// std::runtime_error if it fails.
double SecondsOf(const Machine& machine, const std::filesystem::path& program,
                 const std::vector<std::string>& arguments);
// The tool.
double SecondsOfTool(const Machine& machine, const std::vector<std::string>& arguments);

// Each iteration is one run of measure, which returns its seconds.
template <typename Measure>
void MeasureRuns(benchmark::State& state, const Measure& measure) {
  for (auto _ : state) state.SetIterationTime(measure());
}

}  // namespace larder
