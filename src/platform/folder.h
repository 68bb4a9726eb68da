// Folders, and what lies in them.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

enum class CommonFolder {
  kData,          // machine-wide writable data
  kProgramFiles,  // machine-wide shared program files
};

// Full path without a trailing backslash. path is untouched on failure.
[[nodiscard]] Code CommonFolderPath(CommonFolder folder, WideString& path);

inline constexpr std::uint32_t kAttributeDirectory = 0x10;

// Attribute bits of what a path leads to.
[[nodiscard]] Code PathAttributes(const WideString& path, std::uint32_t& attributes);

// Makes one level. kAlreadyExists when there is something at the path.
[[nodiscard]] Code MakeFolder(const WideString& path);

// Names in a folder that match the last component of a path, where '*' stands for any characters
// and
// '?' for one; in the system's order.
[[nodiscard]] Code FindNames(const WideString& pattern, std::vector<WideString>& names);

}  // namespace larder::platform
