#include "platform/thread.h"

#include <pthread.h>
#include <signal.h>

#include <memory>
#include <new>

#include "platform/linux/errno-code.h"
#include "platform/linux/kernel-object.h"

namespace larder::platform {
namespace {

struct ThreadObject final : KernelObject {
  ~ThreadObject() override {
    if (isOurs) pthread_detach(thread);
  }
  pthread_t thread{};
  bool isOurs = false;  // to be joined or detached
};

struct Task {
  void (*body)(void* argument);
  void* argument;
};

void* RunTask(void* given) noexcept {
  const Task task = *std::unique_ptr<Task>(static_cast<Task*>(given));
  task.body(task.argument);
  return nullptr;
}

// All that a thread can be sent. A fault of its own isn't sent: the process would end then with the
// program's handler for it unheard.
sigset_t SentSignals() {
  sigset_t signals;
  sigfillset(&signals);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS})
    sigdelset(&signals, fault);
  return signals;
}

// A thread begins with its maker's mask, so that there is no moment in which the program's signal
// handlers could run on it.
Code StartWithSignalsBlocked(pthread_t& thread, Task* task) {
  const sigset_t signals = SentSignals();
  sigset_t before;
  int error = pthread_sigmask(SIG_BLOCK, &signals, &before);
  if (error != 0) return CodeFromErrno(error);
  error = pthread_create(&thread, nullptr, RunTask, task);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return error == 0 ? kSuccess : CodeFromErrno(error);
}

}  // namespace

Code StartThread(void (*body)(void* argument), void* argument, Handle& thread) noexcept {
  thread = nullptr;
  std::unique_ptr<Task> task(new (std::nothrow) Task{body, argument});
  std::unique_ptr<ThreadObject> object(new (std::nothrow) ThreadObject);
  if (!task || !object) return kNotEnoughMemory;
  const Code code = StartWithSignalsBlocked(object->thread, task.get());
  if (code != kSuccess) return code;
  static_cast<void>(task.release());
  object->isOurs = true;
  thread = object.release();
  return kSuccess;
}

void WaitForThread(Handle thread) noexcept {
  auto* object = ObjectOf<ThreadObject>(thread);
  if (object == nullptr || !object->isOurs) return;
  pthread_join(object->thread, nullptr);
  object->isOurs = false;
}

}  // namespace larder::platform
