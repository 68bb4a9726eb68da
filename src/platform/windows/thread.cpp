#include "platform/thread.h"

#include <windows.h>

#include <process.h>

#include <memory>
#include <new>

namespace larder::platform {
namespace {

struct Task {
  void (*body)(void* argument);
  void* argument;
};

unsigned __stdcall RunTask(void* given) noexcept {
  const Task task = *std::unique_ptr<Task>(static_cast<Task*>(given));
  task.body(task.argument);
  return 0;
}

}  // namespace

Handle StartThread(void (*body)(void* argument), void* argument) noexcept {
  std::unique_ptr<Task> task(new (std::nothrow) Task{body, argument});
  if (!task) return nullptr;
  const std::uintptr_t thread = _beginthreadex(nullptr, 0, RunTask, task.get(), 0, nullptr);
  if (thread == 0) return nullptr;
  static_cast<void>(task.release());
  return reinterpret_cast<Handle>(thread);  // NOLINT(performance-no-int-to-ptr)
}

void WaitForThread(Handle thread) noexcept {
  if (thread == nullptr || thread == InvalidHandle()) return;
  WaitForSingleObject(reinterpret_cast<HANDLE>(thread), INFINITE);
}

}  // namespace larder::platform
