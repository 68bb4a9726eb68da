#include "platform/thread.h"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <new>
#include <utility>

#include "platform/cancellation.h"
#include "platform/linux/kernel-object.h"
#include "platform/linux/native.h"
#include "platform/linux/start-thread.h"

namespace larder::platform {
namespace {

// A reference to the image that contains this code. Keeps it mapped until closed; never released
// otherwise.
class ImageReference {
 public:
  // Finds the image by the name that the loader has for it, even if the file was renamed or
  // deleted. The program itself has an empty name, for which dlopen returns it.
  bool Open() noexcept {
    Dl_info unused{};
    void* image = nullptr;
    const auto* code = reinterpret_cast<const void*>(&StartThread);
    if (dladdr1(code, &unused, &image, RTLD_DL_LINKMAP) == 0) return false;
    reference = dlopen(static_cast<const link_map*>(image)->l_name, RTLD_NOW | RTLD_NOLOAD);
    return reference != nullptr;
  }
  void Close() noexcept {
    if (reference != nullptr) dlclose(std::exchange(reference, nullptr));
  }

 private:
  void* reference = nullptr;
};

struct ThreadObject final : KernelObject {
  ~ThreadObject() override {
    if (isJoinable) pthread_detach(thread);
  }
  pthread_t thread{};
  bool isJoinable = false;
  ImageReference image;
};

struct Task {
  void (*body)(void* argument);
  void* argument;
};

void* RunTask(void* given) noexcept {
  const CancellationBlock noCancellation;  // a callback of the client could ask for it
  const Task task = *std::unique_ptr<Task>(static_cast<Task*>(given));
  task.body(task.argument);
  return nullptr;
}

// All signals but those of a thread's own faults: if such a signal is blocked when the fault
// occurs, the system ends the process without calling the program's handler.
sigset_t SentSignals() {
  sigset_t signals;
  sigfillset(&signals);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS})
    sigdelset(&signals, fault);
  return signals;
}

// A thread that was told to end does so soon, and being woken takes about as long, so the caller
// doesn't sleep at first. It doesn't yield either: other programs could keep the processor.
void Join(pthread_t thread) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + std::chrono::microseconds(50);
  do {
    if (pthread_tryjoin_np(thread, nullptr) == 0) return;
  } while (Clock::now() < end);
  pthread_join(thread, nullptr);
}

}  // namespace

// A new thread inherits the signal mask of its creator, so the signals are blocked before it
// starts.
int StartWithSignalsBlocked(pthread_t& thread, void* (*body)(void* argument), void* argument) {
  const sigset_t signals = SentSignals();
  sigset_t before;
  int error = pthread_sigmask(SIG_BLOCK, &signals, &before);
  if (error != 0) return error;
  error = pthread_create(&thread, nullptr, body, argument);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return error;
}

Code StartThread(void (*body)(void* argument), void* argument, Handle& thread) noexcept {
  thread = nullptr;
  std::unique_ptr<Task> task(new (std::nothrow) Task{body, argument});
  std::unique_ptr<ThreadObject> object(new (std::nothrow) ThreadObject);
  if (!task || !object || !object->image.Open()) return kNotEnoughMemory;
  const int error = StartWithSignalsBlocked(object->thread, RunTask, task.get());
  if (error != 0) {
    object->image.Close();
    return CodeFromErrno(error);
  }
  static_cast<void>(task.release());
  object->isJoinable = true;
  thread = object.release();
  return kSuccess;
}

// The caller's own reference keeps the image mapped when this one is closed.
Code WaitForThread(Handle thread) noexcept {
  auto* object = ObjectOf<ThreadObject>(thread);
  if (object == nullptr || !object->isJoinable) return kSuccess;
  if (pthread_equal(object->thread, pthread_self()) != 0) return kPossibleDeadlock;
  Join(object->thread);
  object->isJoinable = false;
  object->image.Close();
  return kSuccess;
}

CancellationBlock::CancellationBlock() noexcept {
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &stateBefore);
}

CancellationBlock::~CancellationBlock() { pthread_setcancelstate(stateBefore, nullptr); }

void CallInForkedChild(void (*function)()) noexcept { pthread_atfork(nullptr, nullptr, function); }

FileSizeSignalBlock::FileSizeSignalBlock() noexcept {
  sigset_t signal;
  sigset_t before;
  sigemptyset(&signal);
  sigaddset(&signal, SIGXFSZ);
  mustUnblock = pthread_sigmask(SIG_BLOCK, &signal, &before) == 0 && !sigismember(&before, SIGXFSZ);
}

FileSizeSignalBlock::~FileSizeSignalBlock() {
  if (!mustUnblock) return;
  const int error = errno;
  sigset_t signal;
  sigemptyset(&signal);
  sigaddset(&signal, SIGXFSZ);
  // The system directs this signal at the thread that wrote, so this takes no other thread's.
  const timespec none{};
  while (sigtimedwait(&signal, nullptr, &none) == SIGXFSZ) {
  }
  pthread_sigmask(SIG_UNBLOCK, &signal, nullptr);
  errno = error;
}

}  // namespace larder::platform
