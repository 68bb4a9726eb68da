#include "api/int-larder-handle.h"

#include <mutex>
#include <new>
#include <stdexcept>

#include "log-file/log-files.h"
#include "log/log-statement.h"

namespace larder {

namespace {

std::recursive_mutex HandleLock;
constinit std::atomic<int> LockDepth{0};
constinit std::atomic<bool> HasParentsModules{false};

}  // namespace

constinit std::atomic<IntLarderHandle*> CurrentHandle{nullptr};

HandleLocked::HandleLocked() {
  HandleLock.lock();
  ++LockDepth;
}

HandleLocked::~HandleLocked() {
  --LockDepth;
  HandleLock.unlock();
}

LarderNotifyCallback CallbackOf(const IntLarderHandle& handle) noexcept { return handle.callback; }

void ForgetHandleInForkedChild() {
  if (CurrentHandle.load() != nullptr || LockDepth.load() != 0) HasParentsModules = true;
  new (&HandleLock) std::recursive_mutex;  // another thread of the parent may hold it
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
