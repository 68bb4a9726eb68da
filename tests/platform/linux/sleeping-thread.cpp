#include "platform/linux/sleeping-thread.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <string>

namespace larder::platform {
namespace {

std::ifstream OpenFacts(pid_t thread, const char* name) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + '/' + name);
  if (!file.is_open()) throw std::runtime_error("the system doesn't tell what a thread does");
  return file;
}

// The number of the system call that the thread sleeps in; -1 while it runs.
long CallOf(pid_t thread) {
  std::ifstream file = OpenFacts(thread, "syscall");
  long number = -1;
  file >> number;
  return file.fail() ? -1 : number;
}

bool IsWait(long number) {
#ifdef SYS_poll
  if (number == SYS_poll) return true;
#endif
  return number == SYS_ppoll;
}

}  // namespace

SleepingThread::SleepingThread(Handle event)
    : thread([this, event] {
        number = gettid();
        std::size_t index = 0;
        code = WaitForAny(&event, 1, index);
      }) {
  AwaitSleep();
}

void SleepingThread::AwaitSleep() const {
  while (number == 0 || !IsWait(CallOf(number))) std::this_thread::yield();
}

long SleepingThread::Sleeps() const {
  std::ifstream file = OpenFacts(number, "status");
  std::string word;
  while (file >> word && word != "voluntary_ctxt_switches:") {
  }
  long count = -1;
  file >> count;
  return count;
}

Code SleepingThread::Join() {
  thread.join();
  return code;
}

}  // namespace larder::platform
