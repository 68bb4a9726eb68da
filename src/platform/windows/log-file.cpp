#include "platform/log-file.h"

#include <windows.h>

#include <array>

#include "platform/windows/native.h"

namespace larder::platform {

Code OpenFileToWrite(const WideString& path, WriteMode mode, Handle& file) {
  const DWORD read = mode == WriteMode::kReadWrite ? GENERIC_READ : 0;
  return OpenNativeFile(path, {read | GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS, 0}, file);
}

Code OpenFileToAppend(const WideString& path, Handle& file) {
  // Without the right to write elsewhere, the system puts each write at the end.
  constexpr DWORD kAccess = FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE;
  return OpenNativeFile(path, {kAccess, kShareAll, OPEN_ALWAYS, 0}, file);
}

Code SeekToEnd(Handle file, std::uint64_t& size) noexcept {
  if (IsEmpty(file)) return kInvalidHandle;
  LARGE_INTEGER end;
  if (SetFilePointerEx(Native(file), LARGE_INTEGER{}, &end, FILE_END) == FALSE) return LastError();
  size = static_cast<std::uint64_t>(end.QuadPart);
  return kSuccess;
}

Code WriteOnce(Handle file, const void* bytes, std::uint32_t size) noexcept {
  if (IsEmpty(file)) return kInvalidHandle;
  DWORD written = 0;
  if (WriteFile(Native(file), bytes, size, &written, nullptr) == FALSE) return LastError();
  return written == size ? kSuccess : kDiskFull;
}

Code MakeTemporaryFile(const WideString& directory, const WideString& prefix,
                       WideView /*extension*/, WideString& path) {
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
