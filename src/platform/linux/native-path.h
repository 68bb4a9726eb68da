// Wide paths with backslashes, and names of objects, as paths and names of the file system.
#pragma once

#include <string>
#include <string_view>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// kInvalidName for a path with a NUL in it.
[[nodiscard]] Code NativePath(WideView path, std::string& native);

// kNoUnicodeTranslation for bytes that are no UTF-8; kInvalidName for a path with a backslash in a
// name, which would come back as another path.
[[nodiscard]] Code WidePath(const std::string& native, WideString& path);

enum class Dots { kFirst, kAll };

// The file name under which an object with this name is stored: UTF-8, with control characters,
// "/", "%" and the given dots as "%" and two hexadecimal digits. It never starts with a dot.
[[nodiscard]] std::string FileNameOf(WideView name, Dots escaped);
// The reverse; false for a file name that FileNameOf doesn't return.
[[nodiscard]] bool NameOfFile(std::string_view fileName, Dots escaped, WideString& name);

// The directory that stands for "/" where this library lays down things of its own (the registry),
// from the environment variable LARDER_ROOT; without a slash at its end, so empty for "/" itself.
// Read anew each time, and ignored in a program that runs with raised rights.
[[nodiscard]] std::string MachineRoot();

}  // namespace larder::platform
