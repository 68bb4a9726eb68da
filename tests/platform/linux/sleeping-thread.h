// A thread that waits for events.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <thread>

#include "platform/event.h"

namespace larder::platform {

class SleepingThread {
 public:
  // Starts it and returns once it lies in the system's wait.
  explicit SleepingThread(Handle event);

  // Returns once it lies there again or still.
  void AwaitSleep() const;
  // How often it has gone to sleep so far; after AwaitSleep.
  long Sleeps() const;
  pthread_t Native() { return thread.native_handle(); }
  // Waits for its end and gives what its wait gave.
  Code Join();

 private:
  Code code = kSuccess;
  std::atomic<pid_t> number = 0;
  std::thread thread;
};

}  // namespace larder::platform
