// A shared mutex for short critical sections, usable with std::lock_guard, std::unique_lock and
// std::shared_lock.
//
// A thread that has to wait yields the processor and tries again. So the lock needs no object of
// the system, and none is leaked when the module is unloaded: the C++ runtime of one system never
// frees those that it creates for its mutexes. A thread that waits for exclusive ownership keeps
// later threads out, shared ones too.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

namespace larder::feed {

class StoreLock {
 public:
  // NOLINTBEGIN(readability-identifier-naming): the standard library's names
  void lock() noexcept {
    std::uint32_t seen = state.load(std::memory_order_relaxed);
    while ((seen & kExclusive) != 0 ||
           !state.compare_exchange_weak(seen, seen | kExclusive, std::memory_order_acquire)) {
      std::this_thread::yield();
      seen = state.load(std::memory_order_relaxed);
    }
    while (state.load(std::memory_order_acquire) != kExclusive) std::this_thread::yield();
  }
  void unlock() noexcept { state.store(0, std::memory_order_release); }

  void lock_shared() noexcept {
    std::uint32_t seen = state.load(std::memory_order_relaxed);
    while ((seen & kExclusive) != 0 ||
           !state.compare_exchange_weak(seen, seen + 1, std::memory_order_acquire)) {
      if ((seen & kExclusive) != 0) std::this_thread::yield();
      seen = state.load(std::memory_order_relaxed);
    }
  }
  void unlock_shared() noexcept { state.fetch_sub(1, std::memory_order_release); }
  // NOLINTEND(readability-identifier-naming)

 private:
  static constexpr std::uint32_t kExclusive = 0x80000000u;
  std::atomic<std::uint32_t> state = 0;  // kExclusive, and the number of shared owners
};

}  // namespace larder::feed
