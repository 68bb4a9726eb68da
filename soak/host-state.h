// What the processes of a run share: the supervisor, the resident process and the victims.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>

namespace larder::soak {

inline constexpr int kMaxThreads = 8;
inline constexpr int kVictims = 4;
inline constexpr int kSlots = kVictims + 1;  // the last is that of the process that isn't killed

// What a process is doing.
enum Phase : int {
  kIdle,
  kLoading,
  kStarting,  // in LarderInit
  kQuerying,
  kFreeing,
  kWriting,
  kReleasing,
  kUnloading,
  kPhaseCount
};
inline constexpr const char* kPhaseNames[kPhaseCount] = {
    "idle", "loading", "LarderInit", "query", "free", "write", "LarderRelease", "unloading"};

// The numbers of one thread's calls, from 1. Each call writes its number to the log.
struct Sequence {
  std::atomic<std::uint64_t> begun;
  std::atomic<std::uint64_t> safe;  // calls up to this one were followed by the last release
};

// A period of a process, with a unique number.
struct Life {
  std::atomic<std::uint64_t> id;
  std::atomic<int> phase;
  Sequence threads[kMaxThreads];
};

// Of a process without a handle.
struct Footprint {
  std::uint64_t memory = 0;   // bytes that are resident
  std::uint64_t heap = 0;     // bytes in blocks that weren't freed; 0 if the system can't say
  std::uint64_t handles = 0;  // open descriptors, or handles
  std::uint64_t threads = 0;
};

struct HostState {
  std::atomic<std::uint64_t> lives;
  // The resident process does round `command` when it changes, and sets `done` to it.
  std::atomic<std::uint64_t> command;
  std::atomic<std::uint64_t> done;
  Footprint footprint;  // after round `done`
  Life slots[kSlots];

  std::atomic<std::uint64_t> cycles;       // LarderInit with its LarderRelease
  std::atomic<std::uint64_t> handles;      // those that created a handle
  std::atomic<std::uint64_t> failedInits;  // as they had to
  std::atomic<std::uint64_t> loads;
  std::atomic<std::uint64_t> calls;
  std::atomic<std::uint64_t> failedCalls;  // as they had to
  std::atomic<std::uint64_t> raised;       // the installer's signal
  std::atomic<std::uint64_t> heard;
  std::atomic<std::uint64_t> forks;
  std::atomic<std::uint64_t> lines;  // in the logs
  std::atomic<std::uint64_t> found;  // numbers that had to be there, and are
  std::atomic<std::uint64_t> lost;   // numbers that didn't have to be there, and aren't
};

inline std::filesystem::path HostStateFile(const std::filesystem::path& folder) {
  return folder / "state";
}

}  // namespace larder::soak
