#include "testing/test-machine.h"

#include <windows.h>

#include <stdexcept>
#include <system_error>

namespace larder {
namespace {

void Require(LSTATUS status, const std::string& what) {
  if (status != ERROR_SUCCESS)
    throw std::system_error(static_cast<int>(status), std::system_category(), what);
}

std::string UniqueName(int attempt) {
  return "larder-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(attempt);
}

std::filesystem::path MakeBase() {
  // The system may return the temporary folder's path with short names.
  const auto temporary = std::filesystem::canonical(std::filesystem::temp_directory_path());
  for (int attempt = 0;; ++attempt) {
    std::filesystem::path base = temporary / UniqueName(attempt);
    if (std::filesystem::create_directory(base)) return base;
  }
}

// Unlike std::filesystem::remove_all it deletes files with long paths and with any attributes.
void RemoveTree(const std::wstring& folder) {
  WIN32_FIND_DATAW entry;
  const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
  for (BOOL found = search != INVALID_HANDLE_VALUE; found != FALSE;
       found = FindNextFileW(search, &entry)) {
    const std::wstring name = entry.cFileName;
    const std::wstring path = folder + L'\\' + name;
    if (name == L"." || name == L"..") continue;
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
      DeleteFileW(path.c_str());
    else
      RemoveTree(path);
  }
  if (search != INVALID_HANDLE_VALUE) FindClose(search);
  RemoveDirectoryW(folder.c_str());
}

// Creates a new key that serves as the machine hive, and returns its name.
std::string MakeHive() {
  for (int attempt = 0;; ++attempt) {
    std::string name = "Software\\" + UniqueName(attempt);
    HKEY hive = nullptr;
    DWORD disposition = 0;
    Require(RegCreateKeyExA(HKEY_CURRENT_USER, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &hive, &disposition),
            "RegCreateKeyEx " + name);
    const LSTATUS status = disposition == REG_CREATED_NEW_KEY
                               ? RegOverridePredefKey(HKEY_LOCAL_MACHINE, hive)
                               : ERROR_ALREADY_EXISTS;
    RegCloseKey(hive);
    if (disposition != REG_CREATED_NEW_KEY) continue;
    Require(status, "RegOverridePredefKey");
    return name;
  }
}

// The system looks its folders up in the machine hive.
void NameCommonFolder(const std::wstring& subkey, const wchar_t* value,
                      const std::filesystem::path& folder) {
  std::filesystem::create_directory(folder);
  const std::wstring text = folder.wstring();
  const std::wstring key = L"Software\\Microsoft\\Windows\\CurrentVersion" + subkey;
  Require(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), value, REG_SZ, text.c_str(),
                          static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
          "RegSetKeyValue");
}

}  // namespace

TestMachine::TestMachine() : base(MakeBase()), folder(base / "folder") {
  std::filesystem::create_directory(folder);
  registry = MakeHive();
}

void TestMachine::UseOwnCommonFolders() {
  NameCommonFolder(L"\\Explorer\\User Shell Folders", L"Common AppData", base / "data");
  NameCommonFolder(L"", L"CommonFilesDir", base / "program-files");
}

TestMachine::~TestMachine() {
  RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
  RegDeleteTreeA(HKEY_CURRENT_USER, registry->c_str());
  RemoveTree(L"\\\\?\\" + base.wstring());
}

WideString TestMachine::WideFolder() const { return folder.wstring() + L'\\'; }

}  // namespace larder
