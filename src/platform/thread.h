// The threads of this process, its forks and its limits.
#pragma once

#include <cstdint>

#include "platform/code.h"
#include "platform/handle.h"

namespace larder::platform {

// Starts a thread. body must not throw. Closing the handle doesn't end the thread. The program's
// signal handlers aren't called on it.
Code StartThread(void (*body)(void* argument), void* argument, Handle& thread) noexcept;

// Waits, without a limit, until the thread has ended. Does nothing for null and InvalidHandle().
// Not for two threads at once, nor for the thread itself.
void WaitForThread(Handle thread) noexcept;

// Registers a function to be called in the child of every fork, before fork returns there, until
// the calling module is unloaded. Does nothing on a system without fork.
void CallInForkedChild(void (*function)()) noexcept;

// The largest size in bytes to which this process may extend a file; the largest number if there is
// no limit.
[[nodiscard]] std::uint64_t MaxFileSize() noexcept;

}  // namespace larder::platform
