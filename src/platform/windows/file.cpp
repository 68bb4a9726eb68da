#include "platform/file.h"

#include <windows.h>
#include <winioctl.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/scoped-handle.h"
#include "platform/windows/native.h"

namespace larder::platform {
namespace {

constexpr std::size_t kMaxRead = 1u << 30;  // the system counts bytes in 32 bits

std::uint64_t Join(DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; }

Code KindOf(Handle file, FileKind& kind) {
  if (GetFileType(Native(file)) != FILE_TYPE_DISK) {
    kind = FileKind::kOther;
    return kSuccess;
  }
  BY_HANDLE_FILE_INFORMATION information;
  if (GetFileInformationByHandle(Native(file), &information) == FALSE) return LastError();
  const bool isDirectory = (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  kind = isDirectory ? FileKind::kDirectory : FileKind::kRegular;
  return kSuccess;
}

// Whether the file is on a local, writable volume that calls itself NTFS. Others aren't known to
// record every change: FAT and exFAT have no change time, a server's clock isn't this system's, and
// whoever made a read-only image chose its times. ReFS has no 64-bit file numbers.
bool HasReliableTimes(Handle file) {
  std::array<wchar_t, MAX_PATH + 1> name{};
  DWORD flags = 0;
  if (GetVolumeInformationByHandleW(Native(file), nullptr, 0, nullptr, nullptr, &flags, name.data(),
                                    static_cast<DWORD>(name.size())) == FALSE) {
    return false;
  }
  if (WideView(name.data()) != L"NTFS" || (flags & FILE_READ_ONLY_VOLUME) != 0) return false;
  FILE_REMOTE_PROTOCOL_INFO remote{};
  return GetFileInformationByHandleEx(Native(file), FileRemoteProtocolInfo, &remote,
                                      sizeof remote) == FALSE;
}

std::uint64_t UsnOf(Handle file) {
  union {
    USN_RECORD record;
    std::array<unsigned char, sizeof(USN_RECORD) + MAX_PATH * sizeof(wchar_t)> room;
  } result{};
  DWORD size = 0;
  const BOOL isDone = DeviceIoControl(Native(file), FSCTL_READ_FILE_USN_DATA, nullptr, 0, &result,
                                      sizeof result, &size, nullptr);
  return isDone != FALSE ? static_cast<std::uint64_t>(result.record.Usn) : 0;
}

std::uint64_t TimeOfChange(Handle file) {
  FILE_BASIC_INFO information{};
  if (GetFileInformationByHandleEx(Native(file), FileBasicInfo, &information, sizeof information) ==
      FALSE) {
    return 0;
  }
  return static_cast<std::uint64_t>(information.ChangeTime.QuadPart);
}

}  // namespace

Code OpenFileToRead(const WideString& path, Handle& file, FileKind& kind) {
  file = InvalidHandle();
  OwnedHandle opened;
  Code code = OpenNativeFile(path, kOpenToRead, opened.Out());
  if (code == kSuccess) code = KindOf(opened.Get(), kind);
  if (code == kSuccess && kind == FileKind::kRegular) std::swap(file, opened.Out());
  return code;
}

Code QueryFileInfo(Handle file, FileInfo& info) noexcept {
  if (IsEmpty(file)) return kInvalidHandle;
  BY_HANDLE_FILE_INFORMATION information;
  if (GetFileInformationByHandle(Native(file), &information) == FALSE) return LastError();
  info.size = Join(information.nFileSizeHigh, information.nFileSizeLow);
  info.lastModified =
      Join(information.ftLastWriteTime.dwHighDateTime, information.ftLastWriteTime.dwLowDateTime);
  info.volume = information.dwVolumeSerialNumber;
  info.index = Join(information.nFileIndexHigh, information.nFileIndexLow);
  info.changed = TimeOfChange(file);
  info.validity = HasReliableTimes(file) ? kAlwaysValid : kNeverValid;
  info.usn = UsnOf(file);
  return kSuccess;
}

Code QueryPathInfo(const WideString& path, FileInfo& info, FileKind& kind) {
  OwnedHandle opened;
  FileKind found{};
  Code code = OpenNativeFile(path, kOpenAttributes, opened.Out());
  if (code == kSuccess) code = KindOf(opened.Get(), found);
  if (code == kSuccess && found == FileKind::kRegular) code = QueryFileInfo(opened.Get(), info);
  if (code == kSuccess) kind = found;
  return code;
}

Code ProveNoWriter(Handle file) noexcept {
  if (IsEmpty(file)) return kInvalidHandle;
  // Fails while any handle may write, and excludes nobody longer than this call.
  const HANDLE exclusive =
      ReOpenFile(Native(file), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, 0);
  if (exclusive == INVALID_HANDLE_VALUE) return LastError();
  CloseHandle(exclusive);
  return kSuccess;
}

Code ReadNext(Handle file, void* buffer, std::size_t size, std::size_t& bytesRead) noexcept {
  if (IsEmpty(file)) return kInvalidHandle;
  DWORD count = 0;
  const auto wanted = static_cast<DWORD>(std::min(size, kMaxRead));
  if (ReadFile(Native(file), buffer, wanted, &count, nullptr) == FALSE) return LastError();
  bytesRead = count;
  return kSuccess;
}

Code ReadAt(Handle file, std::uint64_t offset, void* buffer, std::size_t size,
            std::size_t& bytesRead) noexcept {
  if (IsEmpty(file)) return kInvalidHandle;
  std::size_t total = 0;
  while (total < size) {
    const std::uint64_t position = offset + total;
    OVERLAPPED where{};
    where.Offset = static_cast<DWORD>(position);
    where.OffsetHigh = static_cast<DWORD>(position >> 32);
    DWORD count = 0;
    const auto wanted = static_cast<DWORD>(std::min(size - total, kMaxRead));
    if (ReadFile(Native(file), static_cast<char*>(buffer) + total, wanted, &count, &where) ==
        FALSE) {
      const Code code = LastError();
      if (code != ERROR_HANDLE_EOF) return code;
      break;
    }
    if (count == 0) break;
    total += count;
  }
  bytesRead = total;
  return kSuccess;
}

Code RemoveFile(const WideString& path) {
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  return DeleteFileW(native.c_str()) != FALSE ? kSuccess : LastError();
}

Code RenameFile(const WideString& from, const WideString& to) {
  WideString nativeFrom;
  WideString nativeTo;
  if (const Code code = NativePath(from, nativeFrom); code != kSuccess) return code;
  if (const Code code = NativePath(to, nativeTo); code != kSuccess) return code;
  return MoveFileW(nativeFrom.c_str(), nativeTo.c_str()) != FALSE ? kSuccess : LastError();
}

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
