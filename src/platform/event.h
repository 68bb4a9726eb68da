// Events: raised and lowered by hand, waited for. Manual reset: a raised event stays raised until
// somebody lowers it.
#pragma once

#include <cstddef>

#include "platform/code.h"
#include "platform/handle.h"
#include "platform/wide.h"

namespace larder::platform {

// A private event, lowered at first. Raising one that is raised already costs next to nothing: no
// system call where the system lets us know without one.
Code MakeEvent(Handle& event) noexcept;

// The event of this name, shared with other processes; made, lowered, if nobody has it yet,
// otherwise in the state that it has.
Code MakeNamedEvent(const WideString& name, Handle& event);

// Null and InvalidHandle() are refused with kInvalidHandle. A code also for a named event that this
// process may not change.
Code RaiseEvent(Handle event) noexcept;
Code LowerEvent(Handle event) noexcept;

// Waits without a limit until one of the events is raised; index is the lowest of those that are.
// count is 1 to 64, otherwise kInvalidParameter. Fails at once, with kInvalidHandle, when one of
// them is null or InvalidHandle(). Any number of threads may wait for a private event, but only one
// at a time on a handle of a named one.
[[nodiscard]] Code WaitForAny(const Handle* events, std::size_t count, std::size_t& index) noexcept;

}  // namespace larder::platform
