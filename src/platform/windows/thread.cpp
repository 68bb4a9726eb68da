#include "platform/thread.h"

#include <windows.h>

#include <process.h>
#include <winternl.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include "platform/cancellation.h"
#include "platform/windows/native.h"

namespace larder::platform {
namespace {

// Owned by the handle and by the running thread.
struct ThreadObject {
  ~ThreadObject() {
    for (const HANDLE handle : {finished, thread})
      if (handle != nullptr) CloseHandle(handle);
  }

  void (*body)(void* argument);
  void* argument;
  HMODULE image = nullptr;    // the thread's reference, which it releases as it ends
  HMODULE kept = nullptr;     // the handle's, released by the first WaitForThread
  HANDLE finished = nullptr;  // an event: body has returned
  HANDLE thread = nullptr;
  DWORD id = 0;
  std::atomic<bool> hasBegun{false};
  std::atomic<int> owners{2};
};

void Disown(ThreadObject* object) noexcept {
  if (object->owners.fetch_sub(1) == 1) delete object;
}

ThreadObject* ObjectOf(Handle thread) noexcept {
  return reinterpret_cast<ThreadObject*>(  // NOLINT(performance-no-int-to-ptr)
      reinterpret_cast<std::uintptr_t>(thread) & ~kThreadMark);
}

// The body is called once, by whichever thread comes first. Returns whether this one was it.
bool CallBody(ThreadObject& object) noexcept {
  if (object.hasBegun.exchange(true)) return false;
  object.body(object.argument);
  return true;
}

unsigned __stdcall RunThread(void* given) noexcept {
  auto* const object = static_cast<ThreadObject*>(given);
  CallBody(*object);
  const HMODULE image = object->image;
  SetEvent(object->finished);
  Disown(object);
  // The caller of WaitForThread may unload the module before this thread has left its code.
  FreeLibraryAndExitThread(image, 0);
}

// The address is relative to a segment, which the compiler takes for an access to address 0.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Warray-bounds"
const char* ProcessEnvironmentBlock() noexcept {
  return reinterpret_cast<const char*>(NtCurrentTeb()->ProcessEnvironmentBlock);
}
#pragma GCC diagnostic pop

// Whether the calling thread holds the lock under which the system loads and unloads modules, and
// begins and ends threads. No function of the system returns that.
bool HoldsLoaderLock() noexcept {
  constexpr std::size_t kLoaderLockOffset = 0x110;
  const auto* const lock = *reinterpret_cast<const CRITICAL_SECTION* const*>(
      ProcessEnvironmentBlock() + kLoaderLockOffset);
  return reinterpret_cast<std::uintptr_t>(lock->OwningThread) == GetCurrentThreadId();
}

bool ReferToImage(HMODULE& image) noexcept {
  return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                            reinterpret_cast<LPCWSTR>(&RunThread), &image) != FALSE;
}

void ReleaseImage(HMODULE& image) noexcept {
  if (image != nullptr) FreeLibrary(std::exchange(image, nullptr));
}

bool Start(ThreadObject& object) noexcept {
  object.finished = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (object.finished == nullptr) return false;
  unsigned id = 0;
  const std::uintptr_t started = _beginthreadex(nullptr, 0, RunThread, &object, 0, &id);
  object.thread = reinterpret_cast<HANDLE>(started);  // NOLINT(performance-no-int-to-ptr)
  object.id = id;
  return started != 0;
}

// A thread that the system has ended never raises the event.
void WaitForBody(ThreadObject& object) noexcept {
  if (CallBody(object)) return;
  const HANDLE ends[] = {object.finished, object.thread};
  WaitForMultipleObjects(2, ends, FALSE, INFINITE);
}

}  // namespace

Code StartThread(void (*body)(void* argument), void* argument, Handle& thread) noexcept {
  thread = nullptr;
  auto* const object = new (std::nothrow) ThreadObject{body, argument};
  if (object == nullptr) return kNotEnoughMemory;
  if (!ReferToImage(object->image) || !ReferToImage(object->kept) || !Start(*object)) {
    const Code code = LastError();
    ReleaseImage(object->image);
    ReleaseImage(object->kept);
    delete object;
    return code;
  }
  thread = reinterpret_cast<Handle>(  // NOLINT(performance-no-int-to-ptr)
      reinterpret_cast<std::uintptr_t>(object) | kThreadMark);
  return kSuccess;
}

void CloseThread(Handle thread) noexcept { Disown(ObjectOf(thread)); }

Code WaitForThread(Handle thread) noexcept {
  if (!IsThread(thread)) return kSuccess;
  ThreadObject& object = *ObjectOf(thread);
  if (object.id == GetCurrentThreadId()) return kPossibleDeadlock;
  if (HoldsLoaderLock())
    WaitForBody(object);
  else
    WaitForSingleObject(object.thread, INFINITE);
  ReleaseImage(object.kept);
  return kSuccess;
}

void CallInForkedChild(void (*)()) noexcept {}

CancellationBlock::CancellationBlock() noexcept = default;
CancellationBlock::~CancellationBlock() = default;

FileSizeSignalBlock::FileSizeSignalBlock() noexcept = default;
FileSizeSignalBlock::~FileSizeSignalBlock() = default;

}  // namespace larder::platform
