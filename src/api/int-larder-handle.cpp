#include "api/int-larder-handle.h"

#include <new>
#include <stdexcept>
#include <thread>

#include "log-file/log-files.h"
#include "log/log-statement.h"
#include "platform/lock.h"

namespace larder {

namespace {

platform::Lock HandleLock;
std::atomic<std::thread::id> LockOwner;
constinit std::atomic<int> LockDepth{0};
constinit std::atomic<bool> HasParentsModules{false};

}  // namespace

constinit std::atomic<IntLarderHandle*> CurrentHandle{nullptr};

HandleLocked::HandleLocked() {
  if (LockOwner != std::this_thread::get_id()) {
    HandleLock.lock();
    LockOwner = std::this_thread::get_id();
  }
  ++LockDepth;
}

HandleLocked::~HandleLocked() {
  if (--LockDepth != 0) return;
  LockOwner = std::thread::id();
  HandleLock.unlock();
}

LarderNotifyCallback CallbackOf(const IntLarderHandle& handle) noexcept { return handle.callback; }

void ForgetHandleInForkedChild() {
  if (CurrentHandle.load() != nullptr || LockDepth.load() != 0) HasParentsModules = true;
  new (&HandleLock) platform::Lock;  // another thread of the parent may hold it
  LockOwner = std::thread::id();
  LockDepth = 0;
  CurrentHandle.store(nullptr);
  CurrentDiskLogger = nullptr;
  LRLogListenerList::Instance().ForgetInForkedChild();
}

void CheckFork() {
  if (!HasParentsModules.load()) return;
  throw std::runtime_error(
      "The process was forked from one that had a handle; it must start another program first.");
}

IntLarderHandle::IntLarderHandle(LarderNotifyCallback clientCallback)
    : callback(clientCallback), notificationManager(this) {
  ScopeTrace scope("Entering IntLarderHandle::IntLarderHandle()",
                   "Leaving IntLarderHandle::IntLarderHandle()");
}

IntLarderHandle::~IntLarderHandle() {
  ScopeTrace scope("Entering IntLarderHandle::~IntLarderHandle()",
                   "Leaving IntLarderHandle::~IntLarderHandle()");
}

}  // namespace larder
