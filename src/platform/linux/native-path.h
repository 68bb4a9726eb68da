// Wide paths with backslashes, and names of objects, as paths and names of the file system.
#pragma once

#include <string>
#include <string_view>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// kInvalidName for a path with a NUL in it.
[[nodiscard]] Code NativePath(WideView path, std::string& native);

// kNoUnicodeTranslation if the path isn't UTF-8; kInvalidName if it has a backslash in a name,
// since NativePath would return another path for it.
[[nodiscard]] Code WidePath(const std::string& native, WideString& path);

enum class Dots { kFirst, kAll };

// The file name under which an object with this name is stored: UTF-8, with control characters,
// "/", "%" and the given dots as "%" and two hexadecimal digits. It never starts with a dot.
[[nodiscard]] std::string FileNameOf(WideView name, Dots escaped);
// The reverse; false for a file name that FileNameOf doesn't return.
[[nodiscard]] bool NameOfFile(std::string_view fileName, Dots escaped, WideString& name);

// The directory that is used in place of "/" for the library's own folders: the registry, the
// events and the common folders. It is the value of the environment variable LARDER_ROOT, without a
// trailing slash; so it is empty for "/" itself. The variable is read by each call, and ignored in
// a program that runs with raised privileges.
[[nodiscard]] std::string MachineRoot();

}  // namespace larder::platform
