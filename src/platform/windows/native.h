// What the sources for Windows share: handles, codes and paths as the system's calls take them.
#pragma once

#include <windows.h>

#include <cstdint>

#include "platform/code.h"
#include "platform/handle.h"
#include "platform/wide.h"

namespace larder::platform {

inline HANDLE Native(Handle handle) noexcept { return reinterpret_cast<HANDLE>(handle); }

inline bool IsEmpty(Handle handle) noexcept {
  return handle == nullptr || handle == InvalidHandle();
}

// Threads have objects of ours behind their handles. The system doesn't use the lowest bit of its
// own handles, so it marks these.
inline constexpr std::uintptr_t kThreadMark = 1;
inline bool IsThread(Handle handle) noexcept {
  return !IsEmpty(handle) && (reinterpret_cast<std::uintptr_t>(handle) & kThreadMark) != 0;
}
void CloseThread(Handle thread) noexcept;

// The code of the system call that has just failed. Never kSuccess, even if the call set no code.
[[nodiscard]] inline Code LastError() noexcept {
  const DWORD code = GetLastError();
  return code != ERROR_SUCCESS ? code : kGeneralFailure;
}

// Whether the path begins with the prefix \\?\, behind which the system takes names as they are and
// paths of any length.
[[nodiscard]] bool IsVerbatim(WideView path);

// A path that FullNativePath returned, with that prefix.
[[nodiscard]] WideString VerbatimPath(const WideString& full);

// The path itself, or, if it is too long for the system's usual form, the full path with that
// prefix. kInvalidName for a path with a NUL in it.
[[nodiscard]] Code NativePath(const WideString& path, WideString& native);

// The full path as Windows reads it: without "." and "..", without dots and blanks at the end of a
// name; some names are devices. A relative path starts at the current directory. A path with the
// prefix is returned unchanged. Any length; kInvalidName for a path that is empty or has a NUL in
// it.
[[nodiscard]] Code FullNativePath(const WideString& path, WideString& full);

inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Arguments of CreateFileW.
struct NativeOpening {
  DWORD access;
  DWORD share;
  DWORD disposition;
  DWORD flags;
};

// For reading files and directories without disturbing their other users. A pipe with the given
// name can't act on behalf of this process.
inline constexpr DWORD kQuietFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_SEQUENTIAL_SCAN |
                                     SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
inline constexpr NativeOpening kOpenToRead{GENERIC_READ, kShareAll, OPEN_EXISTING, kQuietFlags};
inline constexpr NativeOpening kOpenAttributes{FILE_READ_ATTRIBUTES, kShareAll, OPEN_EXISTING,
                                               kQuietFlags};

// Child processes don't inherit the handle.
Code OpenNativeFile(const WideString& path, const NativeOpening& how, Handle& file);

}  // namespace larder::platform
