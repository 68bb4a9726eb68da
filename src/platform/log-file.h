// Files that grow line by line and are rotated by renaming.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/code.h"
#include "platform/handle.h"
#include "platform/wide.h"

namespace larder::platform {

enum class WriteMode { kReadWrite, kWrite };

// Opens the file at a path, making it if it isn't there; others may read it meanwhile. Where the
// system tells them apart, a symbolic link at the path isn't followed, and nothing that could block
// is opened. Child processes don't inherit the handle.
Code OpenFileToWrite(const WideString& path, WriteMode mode, Handle& file);

// Goes to the end of the file, as it is now, and tells how many bytes lie ahead of it.
[[nodiscard]] Code SeekToEnd(Handle file, std::uint64_t& size) noexcept;

// Writes the bytes where the file stands, in one system call: what doesn't fit is lost, and the
// code isn't kSuccess then.
Code WriteOnce(Handle file, const void* bytes, std::uint32_t size) noexcept;

// Makes an empty file with a free name in the directory: the first three characters of prefix, a
// hexadecimal number, ".tmp". kInvalidDirectory when there is no such directory, kAlreadyExists
// when no number is free. path is untouched on failure.
[[nodiscard]] Code MakeTemporaryFile(const WideString& directory, const WideString& prefix,
                                     WideString& path);

}  // namespace larder::platform
