// The library's directories, and operations on paths.
//
// A directory's path ends in a backslash, so that a file name can be appended. A failure is logged
// and gives an empty, shorter or false result. Stateless; any thread. Nothing is thrown but
// std::bad_alloc.
#pragma once

#include <cstdint>
#include <string>

#include "platform/wide.h"

namespace larder {

// The maker's directories below the system's folders for common data and common program files.
// Empty, after a WARN line, if the system doesn't know the folder. Nothing is created.
WideString GetVelmorDataPath();
WideString GetVelmorProgramPath();

// The product's data directory; just "Larder\" if GetVelmorDataPath failed.
WideString GetLarderDataPath();

// The directory of the product's modules: the registry's szLocation, unchanged (with or without a
// backslash at its end), or else the product's directory among the common program files.
WideString GetLarderProgramDir();

// Creates a database directory of this name below the product's data directory, with the levels
// above it. Returns the path as far as it could be created; logs nothing.
WideString MakeLarderDbDir(const WideString& name);

// The part up to and including the last backslash; empty, after a WARN line, if there is none.
WideString GetPath(const WideString& path);
// The part after the last backslash, or the whole path.
WideString GetFileNameInPath(const WideString& path);
// A path in the directory of the host process's image.
WideString GetFileNameInModuleLocation(const WideString& fileName);

bool DirectoryExists(const WideString& path);
// Creates the missing levels of a path. True if the path is a directory afterwards.
bool CreateDirectoryTree(const WideString& path);

// Creates one level unless it exists; logs nothing. False if it neither exists nor could be
// created.
bool EnsureFolder(const WideString& path);

// The number of lines of a file that contain a text; 0 for a file that can't be read.
std::uint32_t CountLinesContaining(const WideString& path, const std::string& text);

}  // namespace larder
