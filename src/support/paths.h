// The places on disk that the library knows, and what is done with paths.
//
// A directory's path ends in a backslash, so that a file name is appended as it stands. Failures
// are told by log lines and by an empty, short or false result. No state; any thread. Nothing is
// thrown but std::bad_alloc.
#pragma once

#include <cstdint>
#include <string>

#include "platform/wide.h"

namespace larder {

// The maker's directories below the system's folders for common data and common program files.
// Empty, after a WARN line, when the system doesn't tell the folder. Nothing is made.
WideString GetVelmorDataPath();
WideString GetVelmorProgramPath();

// The product's data directory; the bare "Larder\" when GetVelmorDataPath failed.
WideString GetLarderDataPath();

// Where the product's modules are: szLocation of the registry as it stands, with or without a
// backslash at its end, or else the product's directory among the common program files.
WideString GetLarderProgramDir();

// Makes a database directory of this name below the product's data directory, and the levels above
// it. The path as far as it was made; silent.
WideString MakeLarderDbDir(const WideString& name);

// The part up to and including the last backslash; empty, after a WARN line, without one.
WideString GetPath(const WideString& path);
// The part behind the last backslash, or the whole path.
WideString GetFileNameInPath(const WideString& path);
// The directory of the host process's image with a file name behind it.
WideString GetFileNameInModuleLocation(const WideString& fileName);

bool DirectoryExists(const WideString& path);
// Makes the missing levels of a path; true when the whole path is a directory at the end.
bool CreateDirectoryTree(const WideString& path);

// Makes one level unless it exists already; silent.
bool EnsureFolder(const WideString& path);

// How many lines of a text file contain a text; 0 for a file that can't be read. A line counts
// once.
std::uint32_t CountLinesContaining(const WideString& path, const std::string& text);

}  // namespace larder
