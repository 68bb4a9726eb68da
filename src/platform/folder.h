// Folders.
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

// The full path, without a trailing backslash.
[[nodiscard]] Code CommonFolderPath(CommonFolder folder, WideString& path);

inline constexpr std::uint32_t kAttributeDirectory = 0x10;

// The attribute bits of the file or folder at a path; follows links.
[[nodiscard]] Code PathAttributes(const WideString& path, std::uint32_t& attributes);

// Creates one level. kAlreadyExists if anything exists at the path.
[[nodiscard]] Code MakeFolder(const WideString& path);

// The names in a folder that match the last component of pattern, in which '*' stands for any
// characters and '?' for one; in the system's order. kFileNotFound if there are none. If reading
// the folder fails midway, names has those that were found until then.
[[nodiscard]] Code FindNames(const WideString& pattern, std::vector<WideString>& names);

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
