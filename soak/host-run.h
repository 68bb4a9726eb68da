// The run of the library: rounds of a resident process, processes of one round, and processes that
// are killed.
#pragma once

#include <chrono>
#include <cstdint>

#include "soak/run.h"

namespace larder::soak {

struct HostOptions {
  std::filesystem::path folder;
  std::chrono::seconds time{};
  std::uint64_t seed = 1;
  std::uint64_t firstRound = 1;  // a later one to repeat it
};

// Throws Fault at the first crash, hang, growth, wrong result or lost line, with the round.
void RunHost(const HostOptions& options);

// Workers.
void BeResident(const WorkerArguments& arguments);
void DoOneRound(const WorkerArguments& arguments);
void BeVictim(const WorkerArguments& arguments);

}  // namespace larder::soak
