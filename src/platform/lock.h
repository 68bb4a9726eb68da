// A lock for short critical sections, usable with std::lock_guard and std::unique_lock.
//
// It owns nothing that outlives it: a module that is unloaded leaves nothing behind, which the C++
// runtime of one system doesn't ensure for its own mutexes. On Linux a thread that waits lends its
// priority to the owner, so that the owner is scheduled even if the waiting thread is a real-time
// thread. Not recursive. After a fork, the child must not use a lock of its parent.
#pragma once

#include <cstddef>

namespace larder::platform {

class Lock {
 public:
  Lock() noexcept;
  ~Lock();  // NOLINT(performance-trivially-destructible): not trivial on every system
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  // NOLINTBEGIN(readability-identifier-naming): the standard library's names
  void lock() noexcept;
  void unlock() noexcept;
  // NOLINTEND(readability-identifier-naming)

 private:
  static constexpr std::size_t kMaxSize = 40;  // of a system's own lock
  alignas(void*) unsigned char native[kMaxSize];
};

}  // namespace larder::platform
