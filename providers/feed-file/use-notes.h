// Which entries this process has used, on their way to the database, where they decide what is
// removed when the database is full. A key that was noted is noted again only after Take or Forget
// (or if another key has taken its place). Thread-safe.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "platform/lock.h"

namespace larder::feed {

class UseNotes {
 public:
  // Returns true if so many keys are noted that they should be taken.
  bool Note(std::uint64_t key) noexcept try {
    std::atomic<std::uint64_t>& last = lastNoted[key % kRemembered];
    if (last.load(std::memory_order_relaxed) == key) return false;
    last.store(key, std::memory_order_relaxed);
    const std::lock_guard guard(lock);
    if (keys.size() < kMaxNoted) keys.push_back(key);
    return keys.size() >= kMaxNoted;
  } catch (const std::bad_alloc&) {
    return false;
  }

  // The entry is new: it hasn't been used yet.
  void Forget(std::uint64_t key) {
    std::atomic<std::uint64_t>& last = lastNoted[key % kRemembered];
    if (last.load(std::memory_order_relaxed) == key) last.store(0, std::memory_order_relaxed);
  }

  bool IsFull() {
    const std::lock_guard guard(lock);
    return keys.size() >= kMaxNoted;
  }

  std::vector<std::uint64_t> Take() {
    for (std::atomic<std::uint64_t>& last : lastNoted) last.store(0, std::memory_order_relaxed);
    const std::lock_guard guard(lock);
    return std::exchange(keys, {});
  }

 private:
  static constexpr std::size_t kRemembered = 8192;
  static constexpr std::size_t kMaxNoted = 16384;

  std::array<std::atomic<std::uint64_t>, kRemembered> lastNoted{};
  platform::Lock lock;  // guards keys
  std::vector<std::uint64_t> keys;
};

}  // namespace larder::feed
