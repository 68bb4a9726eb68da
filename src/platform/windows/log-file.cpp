#include "platform/log-file.h"

#include <windows.h>

#include <array>

#include "platform/windows/last-error.h"
#include "platform/windows/native-path.h"

namespace larder::platform {
namespace {

HANDLE Native(Handle file) { return reinterpret_cast<HANDLE>(file); }

bool IsNone(Handle file) { return file == nullptr || file == InvalidHandle(); }

Code ResultOf(BOOL result) { return result != FALSE ? kSuccess : LastError(); }

}  // namespace

Code OpenFileToWrite(const WideString& path, WriteMode mode, Handle& file) {
  file = InvalidHandle();
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  const DWORD read = mode == WriteMode::kReadWrite ? GENERIC_READ : 0;
  file = reinterpret_cast<Handle>(CreateFileW(native.c_str(), read | GENERIC_WRITE, FILE_SHARE_READ,
                                              nullptr, OPEN_ALWAYS, 0, nullptr));
  return file != InvalidHandle() ? kSuccess : LastError();
}

Code SeekToEnd(Handle file, std::uint64_t& size) noexcept {
  if (IsNone(file)) return kInvalidHandle;
  LARGE_INTEGER end;
  if (SetFilePointerEx(Native(file), LARGE_INTEGER{}, &end, FILE_END) == FALSE) return LastError();
  size = static_cast<std::uint64_t>(end.QuadPart);
  return kSuccess;
}

Code WriteOnce(Handle file, const void* bytes, std::uint32_t size) noexcept {
  if (IsNone(file)) return kInvalidHandle;
  DWORD written = 0;
  if (WriteFile(Native(file), bytes, size, &written, nullptr) == FALSE) return LastError();
  return written == size ? kSuccess : kDiskFull;
}

Code RemoveFile(const WideString& path) {
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  return ResultOf(DeleteFileW(native.c_str()));
}

Code RenameFile(const WideString& from, const WideString& to) {
  WideString nativeFrom;
  WideString nativeTo;
  if (const Code code = NativePath(from, nativeFrom); code != kSuccess) return code;
  if (const Code code = NativePath(to, nativeTo); code != kSuccess) return code;
  return ResultOf(MoveFileW(nativeFrom.c_str(), nativeTo.c_str()));
}

Code MakeTemporaryFile(const WideString& directory, const WideString& prefix, WideString& path) {
  if (directory.empty()) return kInvalidDirectory;
  if (directory.find(L'\0') != WideString::npos) return kInvalidName;
  std::array<wchar_t, MAX_PATH> buffer;
  if (GetTempFileNameW(directory.c_str(), prefix.c_str(), 0, buffer.data()) == 0) {
    const Code code = LastError();
    return code == ERROR_FILE_EXISTS ? kAlreadyExists : code;
  }
  path = buffer.data();
  return kSuccess;
}

}  // namespace larder::platform
