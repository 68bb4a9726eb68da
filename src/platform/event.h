// Manual-reset events: a raised event stays raised until it is lowered. Thread-safe.
#pragma once

#include <cstddef>

#include "platform/code.h"
#include "platform/handle.h"
#include "platform/wide.h"

namespace larder::platform {

// Creates a private event, lowered. On Linux, raising an event that is raised already takes no
// system call.
Code MakeEvent(Handle& event) noexcept;

// Opens the event of this name, which all processes share, and creates it, lowered, if it doesn't
// exist.
Code MakeNamedEvent(const WideString& name, Handle& event);

// Whether the event of this name is raised now; not raised if there is none. Creates nothing.
[[nodiscard]] Code QueryNamedEvent(const WideString& name, bool& isRaised);

// kInvalidHandle for null and InvalidHandle(). Fails for a named event that this process has no
// right to change.
Code RaiseEvent(Handle event) noexcept;
Code LowerEvent(Handle event) noexcept;

// Waits, without a limit, until one of the events is raised; index is that of the first raised one.
// A named event that is raised during the wait ends it even if it is lowered again immediately; for
// a private event that isn't certain. What happened before the wait doesn't count, only whether the
// event is raised now. Fails at once with kInvalidParameter unless count is 1 to 64, and with
// kInvalidHandle if an event is null or InvalidHandle(). Any number of threads may wait for a
// private event, but only one thread at a time on a handle of a named one.
[[nodiscard]] Code WaitForAny(const Handle* events, std::size_t count, std::size_t& index) noexcept;

}  // namespace larder::platform
