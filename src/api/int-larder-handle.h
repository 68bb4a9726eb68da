// The process's one handle. It owns everything that lives from the first LarderInit to the last
// LarderRelease.
#pragma once

#include <larder/larder.h>

#include <atomic>
#include <cstdint>

#include "notify/notification-mgr.h"
#include "providers/data-provider-mgr.h"

namespace larder {

// Members are destroyed in reverse order: the notification thread has ended before any provider is
// destroyed.
class IntLarderHandle {
 public:
  // Throws what the construction of a member throws.
  explicit IntLarderHandle(LarderNotifyCallback clientCallback);
  ~IntLarderHandle();
  IntLarderHandle(const IntLarderHandle&) = delete;
  IntLarderHandle& operator=(const IntLarderHandle&) = delete;

  std::int32_t refCount = 1;  // guarded by HandleLock
  std::int64_t reserved = -1;
  LarderNotifyCallback callback;  // from the LarderInit that built the handle; never null
  DataProviderManager dataProviderManager;
  NotificationManager notificationManager;
};

// The handle, or null. Written with HandleLock held; the query, free and write calls read it
// without the lock.
extern std::atomic<IntLarderHandle*> CurrentHandle;

// Held during the whole of LarderInit and LarderRelease, and so while modules are loaded.
// Recursive: a provider may call either function from its entry point or its destructor.
class HandleLocked {
 public:
  HandleLocked();
  ~HandleLocked();
  HandleLocked(const HandleLocked&) = delete;
  HandleLocked& operator=(const HandleLocked&) = delete;
};

// Leaves a forked child without a handle. The parent's objects stay in the child's memory, unused,
// because their threads don't exist there. If there were any, or the lock was held, the child can't
// build a handle: loading the modules again would return the parent's images with their state.
void ForgetHandleInForkedChild();

// Throws std::runtime_error in such a child.
void CheckFork();

}  // namespace larder
