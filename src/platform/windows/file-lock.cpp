#include "platform/file-lock.h"

#include <windows.h>

#include "platform/windows/native.h"

namespace larder::platform {

Code OpenLockFile(const WideString& path, Handle& file) {
  return OpenNativeFile(path, {GENERIC_READ | GENERIC_WRITE, kShareAll, OPEN_ALWAYS, 0}, file);
}

Code TryLockFile(Handle file) noexcept {
  OVERLAPPED place{};  // the first byte, even if the file is empty
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
