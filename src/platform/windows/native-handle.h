// Handles as the system takes them, and files opened by its own constants.
#pragma once

#include <windows.h>

#include "platform/code.h"
#include "platform/handle.h"
#include "platform/wide.h"
#include "platform/windows/last-error.h"

namespace larder::platform {

inline HANDLE Native(Handle handle) noexcept { return reinterpret_cast<HANDLE>(handle); }

inline bool IsEmpty(Handle handle) noexcept {
  return handle == nullptr || handle == InvalidHandle();
}

inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Arguments of CreateFileW.
struct NativeOpening {
  DWORD access;
  DWORD share;
  DWORD disposition;
  DWORD flags;
};

// For files and directories, in the way that disturbs their other users least: shares everything,
// and doesn't let a pipe of that name act on behalf of this process.
inline constexpr DWORD kQuietFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_SEQUENTIAL_SCAN |
                                     SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
inline constexpr NativeOpening kOpenToRead{GENERIC_READ, kShareAll, OPEN_EXISTING, kQuietFlags};
inline constexpr NativeOpening kOpenAttributes{FILE_READ_ATTRIBUTES, kShareAll, OPEN_EXISTING,
                                               kQuietFlags};

Code OpenNativeFile(const WideString& path, const NativeOpening& how, Handle& file);

}  // namespace larder::platform
