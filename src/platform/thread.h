// Threads.
#pragma once

#include "platform/code.h"
#include "platform/handle.h"

namespace larder::platform {

// Starts a thread. body must not throw. Closing the handle doesn't end the thread. The program's
// signal handlers aren't called on it.
Code StartThread(void (*body)(void* argument), void* argument, Handle& thread) noexcept;

// Waits, without a limit, until the thread has ended. Does nothing for null and InvalidHandle().
// Not for two threads at once, nor for the thread itself.
void WaitForThread(Handle thread) noexcept;

}  // namespace larder::platform
