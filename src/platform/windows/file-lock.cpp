#include "platform/file-lock.h"

#include <windows.h>

#include "platform/windows/last-error.h"
#include "platform/windows/native-path.h"

namespace larder::platform {
namespace {

HANDLE Native(Handle file) { return reinterpret_cast<HANDLE>(file); }

}  // namespace

Code OpenLockFile(const WideString& path, Handle& file) {
  file = InvalidHandle();
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  file = reinterpret_cast<Handle>(CreateFileW(native.c_str(), GENERIC_READ | GENERIC_WRITE,
                                              kShareAll, nullptr, OPEN_ALWAYS, 0, nullptr));
  return file != InvalidHandle() ? kSuccess : LastError();
}

Code TryLockFile(Handle file) noexcept {
  OVERLAPPED place{};  // the first byte, whether it is there or not
  constexpr DWORD kFlags = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
  if (LockFileEx(Native(file), kFlags, 0, 1, 0, &place) != FALSE) return kSuccess;
  const DWORD error = GetLastError();
  return error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING ? kSharingViolation : error;
}

Code UnlockFile(Handle file) noexcept {
  OVERLAPPED place{};
  return UnlockFileEx(Native(file), 0, 1, 0, &place) != FALSE ? kSuccess : LastError();
}

}  // namespace larder::platform
