// What runs when the library is loaded and unloaded.
#include <exception>

#include "api/int-larder-handle.h"
#include "log/log-listener-list.h"
#include "log/log-statement.h"
#include "log/trace-session.h"
#include "platform/entry.h"
#include "platform/thread.h"

namespace larder {

namespace {

// For somebody who debugs a host; nothing reads it. Volatile, so that the compiler keeps it.
void* volatile ModuleInstance = nullptr;

// Runs a step with the exception handlers that loading and unloading share.
template <typename Step>
bool GuardedStep(Step step) noexcept {
  try {
    step();
    return true;
  } catch (const std::exception& error) {
    LogError("Fatal error in DllMain ", error.what());
  } catch (...) {
    LogError("Fatal error in DllMain.");
  }
  return false;
}

}  // namespace

bool platform::OnModuleAttach(void* moduleInstance) noexcept {
  return GuardedStep([&] {
    AttachTrace();
    ModuleInstance = moduleInstance;
    // Made now. In a forked child, a thread that only the parent has may hold the lock of atexit.
    LRLogListenerList::Instance();
    CallInForkedChild(ForgetHandleInForkedChild);
  });
}

// A handle that wasn't released is left alone, with its modules.
bool platform::OnModuleDetach() noexcept {
  return GuardedStep([] { DetachTrace(); });
}

}  // namespace larder
