#include "platform/thread.h"

#include <windows.h>

#include <process.h>

#include <memory>
#include <new>

#include "platform/windows/native.h"

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

Code StartThread(void (*body)(void* argument), void* argument, Handle& thread) noexcept {
  thread = nullptr;
  std::unique_ptr<Task> task(new (std::nothrow) Task{body, argument});
  if (!task) return kNotEnoughMemory;
  const std::uintptr_t started = _beginthreadex(nullptr, 0, RunTask, task.get(), 0, nullptr);
  if (started == 0) return LastError();
  static_cast<void>(task.release());
  thread = reinterpret_cast<Handle>(started);  // NOLINT(performance-no-int-to-ptr)
  return kSuccess;
}

void WaitForThread(Handle thread) noexcept {
  if (!IsEmpty(thread)) WaitForSingleObject(Native(thread), INFINITE);
}

void CallInForkedChild(void (*)()) noexcept {}

FileSizeSignalBlock::FileSizeSignalBlock() noexcept = default;
FileSizeSignalBlock::~FileSizeSignalBlock() = default;

}  // namespace larder::platform
