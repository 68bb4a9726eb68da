#include "api/int-larder-handle.h"

#include <new>

#include "log-file/log-files.h"
#include "log/log-statement.h"

namespace larder {

constinit std::atomic<IntLarderHandle*> CurrentHandle{nullptr};
std::recursive_mutex HandleLock;

LarderNotifyCallback CallbackOf(const IntLarderHandle& handle) noexcept { return handle.callback; }

void ForgetHandleInForkedChild() {
  new (&HandleLock) std::recursive_mutex;  // another thread of the parent may hold it
  CurrentHandle.store(nullptr);
  CurrentDiskLogger = nullptr;
  LRLogListenerList::Instance().ForgetInForkedChild();
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
