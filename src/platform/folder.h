// Folders, and what lies in them.
#pragma once

#include <cstdint>
#include <string>
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
// and '?' for one; in the system's order.
[[nodiscard]] Code FindNames(const WideString& pattern, std::vector<WideString>& names);

enum class EntryKind {
  kRegular,
  kFolder,
  kLink,   // leads elsewhere: a symbolic link, a junction, any folder that the system redirects
  kOther,  // a device, a pipe, a socket
};

struct FolderEntry {
  std::string name;  // UTF-8; on Linux the name's bytes as they stand, UTF-8 or not
  EntryKind kind = EntryKind::kOther;
  std::uint64_t size = 0;  // bytes of a regular file
};

// What lies in a folder, "." and ".." aside, in the system's order; no link among it is followed.
// An entry that is gone before it could be looked at is left out. Path and names are narrow text,
// so that the names without a wide form are there too. entries is untouched on failure.
[[nodiscard]] Code ListFolder(const std::string& utf8Path, std::vector<FolderEntry>& entries);

// Deletes what a path leads to, a folder with everything in it, for good and without a word to the
// user. Links go themselves, never what they lead to. source: a path with or without a backslash at
// its end, and two NULs behind it; on Windows its last component may hold '*' and '?', and further
// paths may stand between the two. After a failure some of the tree may be gone; on Windows the
// code may be one of the shell's own, which SystemMessage doesn't know.
[[nodiscard]] Code DeleteTree(const LarderWideChar* source);

// False also for what is no folder or can't be read.
[[nodiscard]] bool IsFolderEmpty(const WideString& path);

// An empty folder; kDirectoryNotEmpty for another.
[[nodiscard]] Code RemoveFolder(const WideString& path);

}  // namespace larder::platform
