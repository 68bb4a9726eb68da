#include "platform/path.h"

#include <windows.h>

#include <utility>

#include "platform/windows/native.h"

namespace larder::platform {
namespace {

bool StartsWith(const WideString& text, WideView start) {
  return WideView(text).substr(0, start.size()) == start;
}

}  // namespace

WideString FoldCase(WideString path) {
  const auto length = static_cast<int>(path.size());
  WideString folded(path.size(), L'\0');
  const int written = LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, path.data(), length,
                                    folded.data(), length, nullptr, nullptr, 0);
  return written == length ? folded : path;
}

Code FullNativePath(const WideString& path, WideString& full) {
  if (path.empty() || path.find(L'\0') != WideString::npos) return kInvalidName;
  WideString buffer(MAX_PATH, L'\0');
  for (;;) {
    const auto capacity = static_cast<DWORD>(buffer.size());
    const DWORD length = GetFullPathNameW(path.c_str(), capacity, buffer.data(), nullptr);
    if (length == 0) return LastError();
    buffer.resize(length);
    if (length >= capacity) continue;
    full = std::move(buffer);
    return kSuccess;
  }
}

Code NativePath(const WideString& path, WideString& native) {
  if (path.find(L'\0') != WideString::npos) return kInvalidName;
  const bool isPlain = !StartsWith(path, L"\\\\?\\") && !StartsWith(path, L"\\\\.\\");
  if (path.size() < MAX_PATH || !isPlain) {
    native = path;
    return kSuccess;
  }
  WideString full;
  if (const Code code = FullNativePath(path, full); code != kSuccess) return code;
  // The path of a network share starts with two backslashes.
  const bool isShare = StartsWith(full, L"\\\\");
  native = isShare ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
  return kSuccess;
}

Code OpenNativeFile(const WideString& path, const NativeOpening& how, Handle& file) {
  file = InvalidHandle();
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  file = reinterpret_cast<Handle>(CreateFileW(native.c_str(), how.access, how.share, nullptr,
                                              how.disposition, how.flags, nullptr));
  return file != InvalidHandle() ? kSuccess : LastError();
}

}  // namespace larder::platform
