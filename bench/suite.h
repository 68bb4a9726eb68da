// What the benchmarks and the program around them share.
#pragma once

#include <benchmark/benchmark.h>

#include <memory>
#include <mutex>

namespace larder {

// Counters that a benchmark may set. kEach: how many of the measured things one iteration does; the
// time is divided by it. kFigure: the result, in place of a time.
inline constexpr char kEach[] = "each";
inline constexpr char kFigure[] = "figure";

// end is called when all benchmarks of the group have run, the last one first.
void AtEndOfGroup(void (*end)());
void EndGroup();

// The fixture that the benchmarks of a group and their repetitions share. Built at the first call,
// destroyed at the end of the group. Any thread.
template <typename Fixture>
Fixture& Shared() {
  static std::mutex lock;
  static std::unique_ptr<Fixture> one;
  const std::lock_guard guard(lock);
  if (one == nullptr) {
    one = std::make_unique<Fixture>();
    AtEndOfGroup([] { one.reset(); });
  }
  return *one;
}

}  // namespace larder
