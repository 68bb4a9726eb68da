#include "platform/file.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>

#include "platform/windows/last-error.h"
#include "platform/windows/native-path.h"

namespace larder::platform {
namespace {

HANDLE Native(Handle file) { return reinterpret_cast<HANDLE>(file); }

struct CloseFile {
  void operator()(Handle file) const noexcept { CloseHandle(Native(file)); }
};

std::uint64_t Join(DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; }

// Shares everything, and lets no pipe that bears the name act for this process.
Handle OpenWith(DWORD access, const WideString& path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  constexpr DWORD kFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_SEQUENTIAL_SCAN |
                           SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
  return reinterpret_cast<Handle>(
      CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, kFlags, nullptr));
}

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

std::uint64_t TimeOfChange(Handle file) {
  FILE_BASIC_INFO information{};
  if (GetFileInformationByHandleEx(Native(file), FileBasicInfo, &information, sizeof information) ==
      FALSE) {
    return 0;
  }
  return static_cast<std::uint64_t>(information.ChangeTime.QuadPart);
}

// Whether the file system is known to keep times finely, and is this system's own.
bool HasFineTimes(Handle file) {
  std::array<wchar_t, MAX_PATH + 1> name{};
  if (GetVolumeInformationByHandleW(Native(file), nullptr, 0, nullptr, nullptr, nullptr,
                                    name.data(), static_cast<DWORD>(name.size())) == FALSE) {
    return false;
  }
  FILE_REMOTE_PROTOCOL_INFO remote{};
  const bool isRemote = GetFileInformationByHandleEx(Native(file), FileRemoteProtocolInfo, &remote,
                                                     sizeof remote) != FALSE;
  return !isRemote && (WideView(name.data()) == L"NTFS" || WideView(name.data()) == L"ReFS");
}

}  // namespace

Code OpenFileToRead(const WideString& path, Handle& file, FileKind& kind) {
  file = InvalidHandle();
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  const Handle opened = OpenWith(GENERIC_READ, native);
  if (opened == InvalidHandle()) return LastError();
  std::unique_ptr<KernelObject, CloseFile> owner(opened);
  const Code code = KindOf(opened, kind);
  if (code == kSuccess && kind == FileKind::kRegular) file = owner.release();
  return code;
}

Code QueryFileInfo(Handle file, FileInfo& info) noexcept {
  if (file == nullptr || file == InvalidHandle()) return kInvalidHandle;
  BY_HANDLE_FILE_INFORMATION information;
  if (GetFileInformationByHandle(Native(file), &information) == FALSE) return LastError();
  info.size = Join(information.nFileSizeHigh, information.nFileSizeLow);
  info.lastModified =
      Join(information.ftLastWriteTime.dwHighDateTime, information.ftLastWriteTime.dwLowDateTime);
  info.volume = information.dwVolumeSerialNumber;
  info.index = Join(information.nFileIndexHigh, information.nFileIndexLow);
  info.changed = TimeOfChange(file);
  return kSuccess;
}

Code QueryPathInfo(const WideString& path, FileInfo& info, FileKind& kind) {
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  const Handle opened = OpenWith(FILE_READ_ATTRIBUTES, native);
  if (opened == InvalidHandle()) return LastError();
  const std::unique_ptr<KernelObject, CloseFile> owner(opened);
  FileKind found{};
  Code code = KindOf(opened, found);
  if (code == kSuccess && found == FileKind::kRegular) code = QueryFileInfo(opened, info);
  if (code == kSuccess) kind = found;
  return code;
}

std::uint64_t FileTimeGranularity(const WideString& path) {
  constexpr std::uint64_t kTick = 200'000;  // 20 ms: the clock's 15.6 ms and something
  constexpr std::uint64_t kCoarse = 20'000'000;
  WideString native;
  if (NativePath(path, native) != kSuccess) return kCoarse;
  const Handle opened = OpenWith(FILE_READ_ATTRIBUTES, native);
  if (opened == InvalidHandle()) return kCoarse;
  const std::unique_ptr<KernelObject, CloseFile> owner(opened);
  return HasFineTimes(opened) ? kTick : kCoarse;
}

std::uint64_t MaxFileSize() noexcept { return std::numeric_limits<std::uint64_t>::max(); }

std::uint64_t CurrentFileTime() noexcept {
  FILETIME now;
  GetSystemTimePreciseAsFileTime(&now);
  return Join(now.dwHighDateTime, now.dwLowDateTime);
}

WideString FoldCase(WideString path) {
  const auto length = static_cast<int>(path.size());
  WideString folded(path.size(), L'\0');
  const int written = LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, path.data(), length,
                                    folded.data(), length, nullptr, nullptr, 0);
  return written == length ? folded : path;
}

Code ReadNext(Handle file, void* buffer, std::size_t size, std::size_t& bytesRead) noexcept {
  if (file == nullptr || file == InvalidHandle()) return kInvalidHandle;
  constexpr std::size_t kMaxRead = 1u << 30;
  DWORD count = 0;
  const auto wanted = static_cast<DWORD>(std::min(size, kMaxRead));
  if (ReadFile(Native(file), buffer, wanted, &count, nullptr) == FALSE) return LastError();
  bytesRead = count;
  return kSuccess;
}

Code ReadAt(Handle file, std::uint64_t offset, void* buffer, std::size_t size,
            std::size_t& bytesRead) noexcept {
  if (file == nullptr || file == InvalidHandle()) return kInvalidHandle;
  constexpr std::size_t kMaxRead = 1u << 30;
  std::size_t total = 0;
  while (total < size) {
    const std::uint64_t place = offset + total;
    OVERLAPPED where{};
    where.Offset = static_cast<DWORD>(place);
    where.OffsetHigh = static_cast<DWORD>(place >> 32);
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

}  // namespace larder::platform
