// One process's use of the library, in numbered calls whose results are checked.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>

#include "soak/host-library.h"
#include "soak/host-object.h"
#include "soak/host-state.h"

namespace larder::soak {

using Random = std::mt19937_64;

// The number that a call writes to the log.
struct CallNumber {
  explicit CallNumber(std::uint64_t key)
      : life(key >> 32), thread(key >> 28 & 0xF), number(key & 0xFFFFFFF) {}
  CallNumber(std::uint64_t itsLife, int itsThread, std::uint64_t itsNumber)
      : life(itsLife), thread(static_cast<std::size_t>(itsThread)), number(itsNumber) {}

  std::uint64_t Key() const { return life << 32 | thread << 28 | number; }

  std::uint64_t life;
  std::size_t thread;
  std::uint64_t number;
};

class HostProcess {
 public:
  HostProcess(const std::filesystem::path& folder, int slot, HostState& state);

  // Load and Unload aren't for two threads at once. Unload doesn't release anything.
  void Load();
  void Unload();
  bool IsLoaded() const { return library != nullptr; }
  const Library& Functions() const { return *library; }
  // Throws Fault unless the library isn't mapped any more.
  void MustBeUnmapped() const;

  // A new life begins: its numbers start again.
  void Begin();
  // After the last release: the lines of the calls so far must be in the log.
  void AllSafe();

  // Throw Fault if the result isn't as it should be. Thread-safe.
  LarderHandle Init();
  void MustFailToInit();
  void Release();
  void MustHaveNoHandle();

  // One query with its free, or one write, that may fail at random. For each thread number one
  // thread at a time.
  void Call(LarderHandle handle, int thread, Random& random);
  // Queries a file's facts; for the product's providers.
  void QueryFile(LarderHandle handle);
  // Calls from this many threads, each of this many.
  void CallFromThreads(LarderHandle handle, int threads, int calls, Random& random);

  Life& life;
  HostState& state;
  const std::filesystem::path folder;

 private:
  void SetPhase(Phase phase, int thread);
  SoakObject NextObject(int thread, Random& random);
  void Query(LarderHandle handle, std::int32_t type, const SoakObject& object, int thread);
  void Write(LarderHandle handle, std::int32_t type, const SoakObject& object, int thread);

  std::unique_ptr<Library> library;
};

// Runs the function in threads, with the thread's number from 0 and random numbers of its own.
// Rethrows what one of them throws.
void InThreads(int threads, Random& random, const std::function<void(int, Random&)>& function);

// How often the library has called back in this process.
extern std::atomic<int> signalsHeard;

}  // namespace larder::soak
