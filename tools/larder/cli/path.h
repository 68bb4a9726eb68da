// Paths as the user gives and sees them (narrow, UTF-8, the system's separators), and as the
// library takes them (wide, full, backslashes).
#pragma once

#include <string>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::tool {

// Makes a path full, relative to the current directory. The file needn't exist, and links aren't
// followed. kNoUnicodeTranslation if the path isn't UTF-8; kInvalidName if the library's paths
// can't express it otherwise: on Linux, if it has a backslash.
//
// On Windows every name but "." and ".." is taken as it is: "a " isn't "a", and "AUX" isn't a
// device. The result begins with \\?\ if Windows would read the path as another one without that
// prefix. In a given path that begins with \\?\ or //?/, "." and ".." are names too.
[[nodiscard]] platform::Code FullPath(const std::string& utf8Path, WideString& path);

// The path as this system writes it, with its own separators.
[[nodiscard]] std::string PathText(const WideString& path);

// A path that the user gave, as it is shown: the same on Linux; on Windows with backslashes, and
// with the prefix \\?\ only if it is needed. full: its FullPath.
[[nodiscard]] std::string ShownPath(const std::string& given, const WideString& full);

// What is in front of the names of a folder's entries when they are shown: the folder's shown path
// and a separator.
[[nodiscard]] std::string FolderText(const std::string& shown);

// Whether programs find the file only by this full path (Windows: with the prefix \\?\), and not by
// a shorter one. full: what FullPath returned.
[[nodiscard]] inline bool NeedsFullPath(const WideString& full) {
  return full.starts_with(LARDER_WIDE("\\\\?\\"));
}

// '\' on Windows, '/' elsewhere.
[[nodiscard]] char Separator();

}  // namespace larder::tool
