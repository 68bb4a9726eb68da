// Files that programs append to, and temporary files.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/code.h"
#include "platform/handle.h"
#include "platform/wide.h"

namespace larder::platform {

enum class WriteMode { kReadWrite, kWrite };

// Opens the file at a path, and creates it if it doesn't exist, for one writer: until the handle is
// closed, other calls of this function fail with kSharingViolation, in this process too. Other
// programs may read the file. Child processes don't inherit the handle.
//
// On Linux each write appends, and only a regular file is opened that belongs to this process's
// user or root and has no second name; a symbolic link isn't followed. A new file has the mode
// 0600 for every umask. Where the file system has no locks, a second writer isn't kept out, but
// every write still appends.
Code OpenFileToWrite(const WideString& path, WriteMode mode, Handle& file);

// The same for any number of writers that use this function: each write appends, whole. Other
// programs may also rename and delete the file; the handle stays with the file.
Code OpenFileToAppend(const WideString& path, Handle& file);

// Moves to the present end of the file; size is the number of bytes before it.
[[nodiscard]] Code SeekToEnd(Handle file, std::uint64_t& size) noexcept;

// Writes at the current position, or at the end if the handle appends, in one system call.
// kDiskFull if only a part was written.
Code WriteOnce(Handle file, const void* bytes, std::uint32_t size) noexcept;

// Creates an empty file with an unused name in the directory: the first three characters of prefix,
// a hexadecimal number, ".tmp". kInvalidDirectory if there is no such directory, kAlreadyExists if
// every number is in use.
//
// extension: what the caller will replace "tmp" with, to name a file of its own. On Linux a number
// is also in use if OpenFileToWrite would fail for that name.
[[nodiscard]] Code MakeTemporaryFile(const WideString& directory, const WideString& prefix,
                                     WideView extension, WideString& path);

}  // namespace larder::platform
