#include "platform/folder.h"

#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <array>
#include <memory>
#include <utility>

#include "platform/wide.h"
#include "platform/windows/native.h"

namespace larder::platform {
namespace {

struct CloseSearch {
  void operator()(HANDLE search) const noexcept { FindClose(search); }
};

struct CloseLibrary {
  void operator()(HMODULE library) const noexcept { FreeLibrary(library); }
};

// A library of the shell, loaded for one call only: it loads many others, and creates handles and a
// thread, which a host that never needs it shouldn't have.
class ShellModule {
 public:
  explicit ShellModule(const wchar_t* name)
      : library(LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32)) {}

  // Null on failure; the last error says why.
  template <typename Function>
  Function* Find(const char* name) const {
    if (!library) return nullptr;
    return reinterpret_cast<Function*>(
        reinterpret_cast<void (*)()>(GetProcAddress(library.get(), name)));
  }

 private:
  std::unique_ptr<HINSTANCE__, CloseLibrary> library;
};

HRESULT ShellFolderPath(int number, wchar_t* path) {
  const ShellModule shell(L"shell32.dll");
  const auto function = shell.Find<decltype(SHGetFolderPathW)>("SHGetFolderPathW");
  if (function == nullptr) return HRESULT_FROM_WIN32(LastError());
  return function(nullptr, number, nullptr, 0, path);
}

}  // namespace

Code CommonFolderPath(CommonFolder folder, WideString& path) {
  const bool isData = folder == CommonFolder::kData;
  const int number = isData ? CSIDL_COMMON_APPDATA : CSIDL_PROGRAM_FILES_COMMON;
  std::array<wchar_t, MAX_PATH> buffer;
  const HRESULT result = ShellFolderPath(number, buffer.data());
  if (result != S_OK) return static_cast<Code>(result);
  path = buffer.data();
  return kSuccess;
}

Code PathAttributes(const WideString& path, std::uint32_t& attributes) {
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  const DWORD found = GetFileAttributesW(native.c_str());
  if (found == INVALID_FILE_ATTRIBUTES) return LastError();
  attributes = found;
  return kSuccess;
}

Code MakeFolder(const WideString& path) {
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  return CreateDirectoryW(native.c_str(), nullptr) != FALSE ? kSuccess : LastError();
}

Code FindNames(const WideString& pattern, std::vector<WideString>& names) {
  WideString native;
  if (const Code code = NativePath(pattern, native); code != kSuccess) return code;
  WIN32_FIND_DATAW entry;
  const HANDLE first = FindFirstFileW(native.c_str(), &entry);
  if (first == INVALID_HANDLE_VALUE) return LastError();
  const std::unique_ptr<void, CloseSearch> search(first);
  std::vector<WideString> found;
  do {
    found.emplace_back(entry.cFileName);
  } while (FindNextFileW(search.get(), &entry) != FALSE);
  const Code code = LastError();
  names = std::move(found);
  return code == ERROR_NO_MORE_FILES ? kSuccess : code;
}

Code DeleteTree(const LarderWideChar* source) {
  const ShellModule shell(L"shell32.dll");
  const auto function = shell.Find<decltype(SHFileOperationW)>("SHFileOperationW");
  if (function == nullptr) return LastError();
  SHFILEOPSTRUCTW operation{};
  operation.wFunc = FO_DELETE;
  operation.pFrom = source;
  operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
  return static_cast<Code>(function(&operation));
}

bool IsFolderEmpty(const WideString& path) {
  const ShellModule shell(L"shlwapi.dll");
  const auto function = shell.Find<decltype(PathIsDirectoryEmptyW)>("PathIsDirectoryEmptyW");
  return function != nullptr && function(path.c_str()) != FALSE;
}

Code RemoveFolder(const WideString& path) {
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  return RemoveDirectoryW(native.c_str()) != FALSE ? kSuccess : LastError();
}

}  // namespace larder::platform
