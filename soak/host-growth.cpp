#include "soak/host-growth.h"

#include <algorithm>
#include <cstdio>

#include "soak/run.h"

namespace larder::soak {
namespace {

constexpr int kFirstRounds = 60;
constexpr int kInARow = 10;
// The allocator keeps what threads have freed; a sanitizer keeps what its reports need.
constexpr std::uint64_t kMemoryNoise = (LARDER_SOAK_SANITIZED ? 512u : 32u) << 20;
constexpr std::uint64_t kHeapNoise = 2u << 20;
// wine's thread library keeps some for later threads.
constexpr std::uint64_t kHandleNoise = LARDER_SOAK_EXACT ? 0 : 24;
constexpr std::uint64_t kThreadNoise = LARDER_SOAK_EXACT ? 0 : 8;

double MiB(std::uint64_t bytes) { return static_cast<double>(bytes) / (1 << 20); }

std::string TextOf(const Footprint& footprint) {
  char text[120];
  std::snprintf(text, sizeof text, "memory %.1f MiB, heap %.2f MiB, %llu handles, %llu threads",
                MiB(footprint.memory), MiB(footprint.heap),
                static_cast<unsigned long long>(footprint.handles),
                static_cast<unsigned long long>(footprint.threads));
  return text;
}

bool IsLarger(const Footprint& now, const Footprint& before) {
  return now.memory > before.memory + kMemoryNoise || now.heap > before.heap + kHeapNoise ||
         now.handles > before.handles + kHandleNoise || now.threads > before.threads + kThreadNoise;
}

}  // namespace

void Growth::Add(const Footprint& footprint) {
  last = footprint;
  if (++rounds <= kFirstRounds) {
    first = {.memory = std::max(first.memory, last.memory),
             .heap = std::max(first.heap, last.heap),
             .handles = std::max(first.handles, last.handles),
             .threads = std::max(first.threads, last.threads)};
    return;
  }
  larger = IsLarger(last, first) ? larger + 1 : 0;
  if (larger == kInARow)
    throw Fault("the process grows: " + TextOf(last) +
                "; at most in the first rounds: " + TextOf(first));
}

std::string Growth::Text() const { return TextOf(last); }

std::string Growth::Summary() const {
  return "at most in the first " + std::to_string(std::min(rounds, kFirstRounds)) +
         " rounds: " + TextOf(first) + "\nat the end: " + TextOf(last);
}

}  // namespace larder::soak
