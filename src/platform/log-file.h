// Files that programs append to, and temporary files.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/code.h"
#include "platform/handle.h"
#include "platform/wide.h"

namespace larder::platform {

enum class WriteMode { kReadWrite, kWrite };

// Opens the file at a path, and creates it if it doesn't exist; other programs may read it
// meanwhile. On Linux a symbolic link at the path isn't followed, and only a regular file is
// opened. Child processes don't inherit the handle.
Code OpenFileToWrite(const WideString& path, WriteMode mode, Handle& file);

// Moves to the present end of the file; size is the number of bytes before it.
[[nodiscard]] Code SeekToEnd(Handle file, std::uint64_t& size) noexcept;

// Writes at the current position, in one system call. kDiskFull if only a part was written.
Code WriteOnce(Handle file, const void* bytes, std::uint32_t size) noexcept;

// Creates an empty file with an unused name in the directory: the first three characters of prefix,
// a hexadecimal number, ".tmp". kInvalidDirectory if there is no such directory, kAlreadyExists if
// every number is in use.
[[nodiscard]] Code MakeTemporaryFile(const WideString& directory, const WideString& prefix,
                                     WideString& path);

}  // namespace larder::platform
