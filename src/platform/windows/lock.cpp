#include "platform/lock.h"

#include <windows.h>

#include <new>

namespace larder::platform {
namespace {

SRWLOCK* Native(unsigned char* storage) noexcept {
  return std::launder(reinterpret_cast<SRWLOCK*>(storage));
}

}  // namespace

Lock::Lock() noexcept {
  static_assert(sizeof(SRWLOCK) <= kMaxSize && alignof(SRWLOCK) <= alignof(void*));
  InitializeSRWLock(new (native) SRWLOCK);
}

Lock::~Lock() = default;

void Lock::lock() noexcept { AcquireSRWLockExclusive(Native(native)); }

void Lock::unlock() noexcept { ReleaseSRWLockExclusive(Native(native)); }

}  // namespace larder::platform
