// Folders and their entries.
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

// The full path, without a trailing backslash.
[[nodiscard]] Code CommonFolderPath(CommonFolder folder, WideString& path);

inline constexpr std::uint32_t kAttributeDirectory = 0x10;

// The attribute bits of the file or folder at a path; follows links.
[[nodiscard]] Code PathAttributes(const WideString& path, std::uint32_t& attributes);

// Creates one level. kAlreadyExists if anything exists at the path.
[[nodiscard]] Code MakeFolder(const WideString& path);

// The names in a folder that match the last component of pattern, in which '*' stands for any
// characters and '?' for one; in the system's order. kFileNotFound if there are none.
[[nodiscard]] Code FindNames(const WideString& pattern, std::vector<WideString>& names);

enum class EntryKind {
  kRegular,
  kFolder,
  kLink,   // a symbolic link, a junction, any other folder that the system redirects
  kOther,  // a device, a pipe, a socket
};

struct FolderEntry {
  std::string name;  // UTF-8; on Linux the bytes of the name, even if they aren't UTF-8
  EntryKind kind = EntryKind::kOther;
  std::uint64_t size = 0;  // bytes of a regular file
};

// The entries of a folder except "." and "..", in the system's order; links aren't followed. An
// entry that is removed meanwhile may be missing. Path and names are narrow text, so that names
// without a wide form are included.
[[nodiscard]] Code ListFolder(const std::string& utf8Path, std::vector<FolderEntry>& entries);

// Deletes a file, or a folder with everything in it, permanently and without asking the user. Links
// are deleted, not their targets. source: a path, with or without a trailing backslash, followed by
// two NULs; on Windows its last component may contain '*' and '?', and more paths, each after a
// NUL, may follow. After a failure part of the tree may be deleted. On Windows the code may be one
// of the shell's own, for which SystemMessage has no text.
[[nodiscard]] Code DeleteTree(const LarderWideChar* source);

// False also if the path isn't a folder or can't be read.
[[nodiscard]] bool IsFolderEmpty(const WideString& path);

// kDirectoryNotEmpty if the folder isn't empty.
[[nodiscard]] Code RemoveFolder(const WideString& path);

}  // namespace larder::platform
