// A lock for moments: held by many that share it or by one alone.
//
// Who has to wait yields the processor and tries again, so nothing of the system is needed for it,
// and nothing stays behind when the module goes. (What the C++ runtime of one system makes for its
// mutexes is never given back.) Meets the requirements of std::lock_guard and std::shared_lock. Who
// wants it alone isn't kept waiting by newcomers.
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
    while ((seen & kAlone) != 0 ||
           !state.compare_exchange_weak(seen, seen | kAlone, std::memory_order_acquire)) {
      std::this_thread::yield();
      seen = state.load(std::memory_order_relaxed);
    }
    while (state.load(std::memory_order_acquire) != kAlone) std::this_thread::yield();
  }
  void unlock() noexcept { state.store(0, std::memory_order_release); }

  void lock_shared() noexcept {
    std::uint32_t seen = state.load(std::memory_order_relaxed);
    while ((seen & kAlone) != 0 ||
           !state.compare_exchange_weak(seen, seen + 1, std::memory_order_acquire)) {
      if ((seen & kAlone) != 0) std::this_thread::yield();
      seen = state.load(std::memory_order_relaxed);
    }
  }
  void unlock_shared() noexcept { state.fetch_sub(1, std::memory_order_release); }
  // NOLINTEND(readability-identifier-naming)

 private:
  static constexpr std::uint32_t kAlone = 0x80000000u;
  std::atomic<std::uint32_t> state = 0;  // kAlone, and how many share it
};

}  // namespace larder::feed
