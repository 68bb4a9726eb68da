#include "platform/windows/native-path.h"

#include <windows.h>

#include "platform/windows/last-error.h"

namespace larder::platform {
namespace {

bool StartsWith(const WideString& text, WideView start) {
  return WideView(text).substr(0, start.size()) == start;
}

}  // namespace

Code FullNativePath(const WideString& path, WideString& full) {
  if (path.empty() || path.find(L'\0') != WideString::npos) return kInvalidName;
  full.resize(MAX_PATH);
  for (;;) {
    const auto room = static_cast<DWORD>(full.size());
    const DWORD length = GetFullPathNameW(path.c_str(), room, full.data(), nullptr);
    if (length == 0) return LastError();
    full.resize(length);
    if (length < room) return kSuccess;
  }
}

Code NativePath(const WideString& path, WideString& native) {
  if (path.find(L'\0') != WideString::npos) return kInvalidName;
  native = path;
  const bool isPlain = !StartsWith(path, L"\\\\?\\") && !StartsWith(path, L"\\\\.\\");
  if (path.size() < MAX_PATH || !isPlain) return kSuccess;
  WideString full;
  if (const Code code = FullNativePath(path, full); code != kSuccess) return code;
  // A server's share has two backslashes of its own in front.
  const bool isShare = StartsWith(full, L"\\\\");
  native = isShare ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
  return kSuccess;
}

}  // namespace larder::platform
