// Threads of this library: the program's signal handlers aren't called on them.
#pragma once

#include <pthread.h>

namespace larder::platform {

// Starts a thread on which all signals but those of its own faults are blocked. Returns 0 or a
// value of errno.
int StartWithSignalsBlocked(pthread_t& thread, void* (*body)(void* argument), void* argument);

}  // namespace larder::platform
