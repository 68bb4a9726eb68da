#include "platform/lock.h"

#include <pthread.h>

#include <new>

namespace larder::platform {
namespace {

pthread_mutex_t* Native(unsigned char* storage) noexcept {
  return std::launder(reinterpret_cast<pthread_mutex_t*>(storage));
}

}  // namespace

Lock::Lock() noexcept {
  static_assert(sizeof(pthread_mutex_t) <= kMaxSize && alignof(pthread_mutex_t) <= alignof(void*));
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
  pthread_mutex_init(new (native) pthread_mutex_t, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

Lock::~Lock() { pthread_mutex_destroy(Native(native)); }

void Lock::lock() noexcept { pthread_mutex_lock(Native(native)); }

void Lock::unlock() noexcept { pthread_mutex_unlock(Native(native)); }

}  // namespace larder::platform
