// Wide paths as the system takes them.
#pragma once

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// Gives a path that is too long for the system's usual form the prefix that lifts the limit, and
// the full, plain form that goes with it. kInvalidName for a path with a NUL in it.
[[nodiscard]] Code NativePath(const WideString& path, WideString& native);

// The path as a full one, relative to the current directory otherwise; it may be of any length.
[[nodiscard]] Code FullNativePath(const WideString& path, WideString& full);

}  // namespace larder::platform
