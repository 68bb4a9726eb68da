// Files: what a path leads to, its identity and times, its bytes, its place and its lock.
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
  // When the file's content or attributes last changed, in the unit of lastModified. A program can
  // set it on Windows, but not on Linux. 0 if the file system doesn't record it.
  std::uint64_t changed = 0;
  // For how long an equal FileInfo means an equal content: kNeverValid, kAlwaysValid, or, with any
  // other value, as long as the file system stays mounted; the value then identifies the mount.
  std::uint64_t validity = 0;
  // Windows: the number of the file's last record in the volume's change journal, which a program
  // can't set. 0 without a journal, and on Linux.
  std::uint64_t usn = 0;

  bool operator==(const FileInfo&) const = default;
};

// The file system isn't known to record every change with this system's clock.
inline constexpr std::uint64_t kNeverValid = 0;
inline constexpr std::uint64_t kAlwaysValid = 1;

// Opens the file at a path for reading; follows links, shares the file with all other programs and
// never blocks. Only a regular file is opened; for anything else the code is kSuccess, kind says
// what it is, and file is InvalidHandle().
[[nodiscard]] Code OpenFileToRead(const WideString& path, Handle& file, FileKind& kind);

[[nodiscard]] Code QueryFileInfo(Handle file, FileInfo& info) noexcept;

// As QueryFileInfo, for the file at a path; follows links. Needs no right to read the file and
// never blocks. info is set for a regular file only.
[[nodiscard]] Code QueryPathInfo(const WideString& path, FileInfo& info, FileKind& kind);

// Whether the content of a file opened by OpenFileToRead could be changed, at the moment of the
// call, by what other programs have open already. kSuccess: it couldn't. kSharingViolation: a
// handle that may write exists, or, on Linux, a writable shared mapping. Any other code: the system
// doesn't say; on Linux kAccessDenied if the caller neither owns the file nor has CAP_LEASE. Never
// waits, and no signal reaches the caller.
//
// Called before the first read and again after the last query of the FileInfo, it shows that no
// change of the content can happen without a new FileInfo. On Windows that doesn't hold for a view
// that was mapped for writing and outlived its handles.
[[nodiscard]] Code ProveNoWriter(Handle file) noexcept;

// Reads from where the last ReadNext ended; bytesRead is 0 at the end of the file.
[[nodiscard]] Code ReadNext(Handle file, void* buffer, std::size_t size,
                            std::size_t& bytesRead) noexcept;

// Reads at an offset; bytesRead is less than size only if the file ends there. Where ReadNext
// continues afterwards is undefined.
[[nodiscard]] Code ReadAt(Handle file, std::uint64_t offset, void* buffer, std::size_t size,
                          std::size_t& bytesRead) noexcept;

Code RemoveFile(const WideString& path);
// Fails with kAlreadyExists if anything exists at the new path.
Code RenameFile(const WideString& from, const WideString& to);

// The lock of a file excludes other processes and other handles of this one: at most one handle
// holds it.
//
// Opens the file at a path for locking only, and creates it, empty, if it doesn't exist. Child
// processes don't inherit the handle.
Code OpenLockFile(const WideString& path, Handle& file);

// Never waits: kSharingViolation while another handle holds the lock. The lock is released by
// UnlockFile, by closing the handle, and by the end of the process, however it ends.
[[nodiscard]] Code TryLockFile(Handle file) noexcept;
Code UnlockFile(Handle file) noexcept;

}  // namespace larder::platform
