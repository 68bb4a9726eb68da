#include "platform/path.h"

#include <windows.h>

#include <utility>

#include "platform/windows/native.h"

namespace larder::platform {
namespace {

constexpr WideView kVerbatim = L"\\\\?\\";

// The system takes shorter full paths in any form, and a directory's path has 12 units less.
constexpr std::size_t kMaxPlain = MAX_PATH - 12;

bool IsSeparator(wchar_t unit) { return unit == L'\\' || unit == L'/'; }

// Whether the path doesn't depend on a current directory.
bool IsFull(const WideString& path) {
  if (path.size() < 3) return false;
  const bool isDrive = path[1] == L':' && IsSeparator(path[2]);
  return isDrive || (IsSeparator(path[0]) && IsSeparator(path[1]));
}

}  // namespace

bool IsVerbatim(WideView path) { return path.starts_with(kVerbatim); }

WideString VerbatimPath(const WideString& full) {
  if (IsVerbatim(full)) return full;
  if (full.starts_with(L"\\\\.\\")) return L"\\\\?\\" + full.substr(4);
  // The path of a network share starts with two backslashes.
  const bool isShare = full.starts_with(L"\\\\");
  return isShare ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

WideView FoldCase(WideView path, WideString& memory) {
  const auto length = static_cast<int>(path.size());
  memory.resize(path.size());
  const int written = LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, path.data(), length,
                                    memory.data(), length, nullptr, nullptr, 0);
  return written == length ? WideView(memory) : path;
}

Code FullNativePath(const WideString& path, WideString& full) {
  if (path.empty() || path.find(L'\0') != WideString::npos) return kInvalidName;
  if (IsVerbatim(path)) {
    full = path;
    return kSuccess;
  }
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
  WideString full;
  if (path.empty() || IsVerbatim(path) || (path.size() < kMaxPlain && IsFull(path))) {
    native = path;
  } else if (const Code code = FullNativePath(path, full); code != kSuccess) {
    return code;
  } else {
    native = full.size() < kMaxPlain ? path : VerbatimPath(full);
  }
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
