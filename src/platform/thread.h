// Threads that are held by a handle.
#pragma once

#include "platform/code.h"
#include "platform/handle.h"

namespace larder::platform {

// Starts a thread. body must let no exception out. Closing the handle doesn't end
// the thread. No signal that is sent to the program is handled on it.
Code StartThread(void (*body)(void* argument), void* argument, Handle& thread) noexcept;

// Waits without a limit until the thread has ended. Null is refused without any effect. Call it at
// most once for a thread, and not on the thread itself.
void WaitForThread(Handle thread) noexcept;

}  // namespace larder::platform
