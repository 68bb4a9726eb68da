// Wide paths with backslashes to paths of the file system, and back.
#pragma once

#include <string>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// kInvalidName for a path with a NUL in it.
[[nodiscard]] Code NativePath(WideView path, std::string& native);

// kNoUnicodeTranslation for bytes that are no UTF-8; kInvalidName for a path with a backslash in a
// name, which would come back as another path.
[[nodiscard]] Code WidePath(const std::string& native, WideString& path);

// The directory that stands for "/" where this library lays down things of its own (the registry),
// from the environment variable LARDER_ROOT; without a slash at its end, so empty for "/" itself.
// Read anew each time, and ignored in a program that runs with raised rights.
[[nodiscard]] std::string MachineRoot();

}  // namespace larder::platform
