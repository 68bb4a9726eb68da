// The threads of this process, its forks and its limits.
#pragma once

#include <cstdint>

#include "platform/code.h"
#include "platform/handle.h"

namespace larder::platform {

// Starts a thread. body must not throw. Closing the handle doesn't end the thread. The program's
// signal handlers aren't called on it, and it can't be cancelled.
//
// The module that contains this function stays loaded until WaitForThread has returned, or forever
// if nothing waits for the thread: a client may unload the module while the thread runs.
Code StartThread(void (*body)(void* argument), void* argument, Handle& thread) noexcept;

// Waits, without a limit, until the thread has ended. Does nothing for null and InvalidHandle().
// Returns kPossibleDeadlock, and doesn't wait, if the thread is the calling one. Not for two
// threads at once.
//
// On Windows a thread can neither begin nor end while another one loads or unloads a module. If the
// calling thread does (it runs a DLL's entry point, or a constructor or destructor of a static
// object), WaitForThread only waits until body has returned; if body hasn't begun, WaitForThread
// calls it on the calling thread.
Code WaitForThread(Handle thread) noexcept;

// Registers a function to be called in the child of every fork, before fork returns there, until
// the calling module is unloaded. Does nothing on a system without fork.
void CallInForkedChild(void (*function)()) noexcept;

// While an object of this class exists, a write of the thread beyond the process's limit of file
// sizes fails, and no signal ends the process for it. For the thread that created it.
class FileSizeSignalBlock {
 public:
  FileSizeSignalBlock() noexcept;
  ~FileSizeSignalBlock();  // NOLINT(performance-trivially-destructible): not trivial on every
                           // system
  FileSizeSignalBlock(const FileSizeSignalBlock&) = delete;
  FileSizeSignalBlock& operator=(const FileSizeSignalBlock&) = delete;

 private:
  [[maybe_unused]] bool mustUnblock = false;
};

}  // namespace larder::platform
