#include "platform/thread.h"

#include <pthread.h>
#include <signal.h>

#include <memory>
#include <new>

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
bool StartWithSignalsBlocked(pthread_t& thread, Task* task) {
  const sigset_t signals = SentSignals();
  sigset_t before;
  if (pthread_sigmask(SIG_BLOCK, &signals, &before) != 0) return false;
  const int error = pthread_create(&thread, nullptr, RunTask, task);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return error == 0;
}

}  // namespace

Handle StartThread(void (*body)(void* argument), void* argument) noexcept {
  std::unique_ptr<Task> task(new (std::nothrow) Task{body, argument});
  std::unique_ptr<ThreadObject> object(new (std::nothrow) ThreadObject);
  if (!task || !object || !StartWithSignalsBlocked(object->thread, task.get())) return nullptr;
  static_cast<void>(task.release());
  object->isOurs = true;
  return object.release();
}

void WaitForThread(Handle thread) noexcept {
  auto* object = ObjectOf<ThreadObject>(thread);
  if (object == nullptr || !object->isOurs) return;
  pthread_join(object->thread, nullptr);
  object->isOurs = false;
}

}  // namespace larder::platform
