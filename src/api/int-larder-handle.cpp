#include "api/int-larder-handle.h"

#include "diag/log-statement.h"

namespace larder {

constinit std::atomic<IntLarderHandle*> CurrentHandle{nullptr};
std::recursive_mutex HandleLock;

IntLarderHandle::IntLarderHandle(LarderNotifyCallback clientCallback) : callback(clientCallback) {
  ScopeTrace scope("Entering IntLarderHandle::IntLarderHandle()",
                   "Leaving IntLarderHandle::IntLarderHandle()");
}

IntLarderHandle::~IntLarderHandle() {
  ScopeTrace scope("Entering IntLarderHandle::~IntLarderHandle()",
                   "Leaving IntLarderHandle::~IntLarderHandle()");
}

}  // namespace larder
