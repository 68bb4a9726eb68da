// A thread that waits for an event.
#pragma once

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>

#include "platform/event.h"

namespace larder::platform {

class SleepingThread {
 public:
  // Returns once the thread sleeps in its wait.
  explicit SleepingThread(Handle event)
      : thread([this, event] {
          number = gettid();
          std::size_t index = 0;
          code = WaitForAny(&event, 1, index);
        }) {
    AwaitSleep();
  }

  // Returns once it sleeps there still or again.
  void AwaitSleep() const {
    while (number == 0 || !IsInPoll()) std::this_thread::yield();
  }
  pthread_t Native() { return thread.native_handle(); }
  // Waits for its end and returns the result of its wait.
  Code Join() {
    thread.join();
    return code;
  }

 private:
  bool IsInPoll() const {
    std::ifstream file("/proc/self/task/" + std::to_string(number) + "/syscall");
    file.exceptions(std::ios::failbit);  // thrown now if the file couldn't be opened
    std::string call;                    // the system call that it sleeps in, or "running"
    file >> call;
#ifdef SYS_poll
    if (call == std::to_string(SYS_poll)) return true;
#endif
    return call == std::to_string(SYS_ppoll);
  }

  Code code = kSuccess;
  std::atomic<pid_t> number = 0;
  std::thread thread;
};

}  // namespace larder::platform
