// The two ways in which a log on disk is measured, the same for the library's logger and its peer.
//
// Log: the constructor takes the file's path; Line logs one line; the destructor returns when every
// line has been written.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>

#include "machine.h"
#include "suite.h"

namespace larder {

// For each thread. The lines of two threads fit into the peer's queue.
inline constexpr int kLines = 100'000;
inline constexpr std::uint64_t kKey = 1234567890;

// The time that a caller spends, while nothing waits for the disk.
template <typename Log>
void BurstInto(benchmark::State& state, const char* file) {
  static std::unique_ptr<Log> log;
  if (state.thread_index() == 0) log = std::make_unique<Log>(Shared<Machine>().Folder() / file);
  for (auto _ : state) log->Line();  // begins and ends for all threads together
  if (state.thread_index() == 0) log.reset();
}

// From the first line to the last one in the file.
template <typename Log>
void DrainedInto(benchmark::State& state, const char* file) {
  for (auto _ : state) {
    auto log = std::make_unique<Log>(Shared<Machine>().Folder() / file);
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < kLines; ++i) log->Line();
    log.reset();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    state.SetIterationTime(taken.count());
  }
  state.counters[kEach] = kLines;
}

}  // namespace larder
