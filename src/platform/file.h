// Files that are read: what a path leads to, its identity and times, its bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/code.h"
#include "platform/handle.h"
#include "platform/wide.h"

namespace larder::platform {

enum class FileKind { kRegular, kDirectory, kOther };

struct FileInfo {
  std::uint64_t size = 0;          // bytes
  std::uint64_t lastModified = 0;  // 100 ns since 1601-01-01 UTC
  std::uint64_t volume = 0;        // the file system that holds the file...
  std::uint64_t index = 0;         // ...and the file's number in it
  // When anything about the file changed last, as lastModified; no program can set it back. 0 where
  // the file system doesn't tell.
  std::uint64_t changed = 0;

  bool operator==(const FileInfo&) const = default;
};

// Opens what a path leads to for reading, links followed, in the way that disturbs other programs
// least. Never blocks: anything but a regular file is told by kind and not opened (file is then
// InvalidHandle() and the code kSuccess). On failure file is InvalidHandle().
[[nodiscard]] Code OpenFileToRead(const WideString& path, Handle& file, FileKind& kind);

[[nodiscard]] Code QueryFileInfo(Handle file, FileInfo& info) noexcept;

// What QueryFileInfo would tell of a path, links followed, from a look that needs no right to read
// the file, disturbs nobody and never blocks. info is that of a regular file, else untouched.
[[nodiscard]] Code QueryPathInfo(const WideString& path, FileInfo& info, FileKind& kind);

// By how much two changes of a file must lie apart to be sure to leave different times, where the
// path leads: it depends on the file system. 100 ns.
[[nodiscard]] std::uint64_t FileTimeGranularity(const WideString& path);

// How many bytes this process may make a file hold; the largest number if nothing is set.
[[nodiscard]] std::uint64_t MaxFileSize() noexcept;

// The system's clock, in the form of a file's times.
[[nodiscard]] std::uint64_t CurrentFileTime() noexcept;

// The form that paths share when they name one file and differ in case alone; the path itself where
// case tells files apart.
[[nodiscard]] WideString FoldCase(WideString path);

// Reads on from where the last read ended; bytesRead is 0 at the end of the file.
[[nodiscard]] Code ReadNext(Handle file, void* buffer, std::size_t size,
                            std::size_t& bytesRead) noexcept;

// Reads at an offset; bytesRead is less than size at the end of the file and nowhere else. Where
// ReadNext goes on afterwards is not defined.
[[nodiscard]] Code ReadAt(Handle file, std::uint64_t offset, void* buffer, std::size_t size,
                          std::size_t& bytesRead) noexcept;

}  // namespace larder::platform
