// The one handle of the process: the root of everything that lives from the first LarderInit to the
// last LarderRelease.
#pragma once

#include <larder/larder.h>

#include <atomic>
#include <cstdint>
#include <mutex>

#include "notify/notification-mgr.h"
#include "providers/data-provider-mgr.h"

namespace larder {

// Members are constructed in their order and destroyed in the reverse one: the notification thread
// has ended before any provider goes.
class IntLarderHandle {
 public:
  // Throws whatever keeps a member from being built.
  explicit IntLarderHandle(LarderNotifyCallback clientCallback);
  ~IntLarderHandle();
  IntLarderHandle(const IntLarderHandle&) = delete;
  IntLarderHandle& operator=(const IntLarderHandle&) = delete;

  std::int32_t refCount = 1;  // guarded by HandleLock
  std::int64_t reserved = -1;
  LarderNotifyCallback callback;  // of the LarderInit that built the handle; never null
  DataProviderManager dataProviderManager;
  NotificationManager notificationManager;
};

// The handle, or null. Written with HandleLock held, read by the working exports without it.
extern std::atomic<IntLarderHandle*> CurrentHandle;

// Held over the whole of LarderInit and LarderRelease, and so over the loading of modules. A
// provider that calls one of the two from its entry point or its destructor enters it again.
extern std::recursive_mutex HandleLock;

// Makes a forked child a process without a handle, whose next LarderInit builds one. What the
// parent had stays behind unused in the child's memory: its threads don't exist here.
void ForgetHandleInForkedChild();

}  // namespace larder
