#include "testing/test-machine.h"

#include <windows.h>

#include <sddl.h>

#include <stdexcept>
#include <system_error>

namespace larder {
namespace {

void Require(LSTATUS status, const std::string& what) {
  if (status != ERROR_SUCCESS)
    throw std::system_error(static_cast<int>(status), std::system_category(), what);
}

std::filesystem::path MakeBase() {
  // The system may return the temporary folder's path with short names.
  const auto temporary = std::filesystem::canonical(std::filesystem::temp_directory_path());
  const std::string name = "larder-test-" + std::to_string(GetCurrentProcessId()) + '-';
  for (int attempt = 0;; ++attempt) {
    std::filesystem::path base = temporary / (name + std::to_string(attempt));
    if (std::filesystem::create_directory(base)) return base;
  }
}

// The key that serves as the machine hive.
std::wstring HiveOf(const std::filesystem::path& base) {
  return L"Software\\" + base.filename().wstring();
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
  const std::wstring name = HiveOf(base);
  RegDeleteTreeW(HKEY_CURRENT_USER, name.c_str());  // of a test that was killed
  HKEY hive = nullptr;
  Require(RegCreateKeyW(HKEY_CURRENT_USER, name.c_str(), &hive), "RegCreateKey");
  Require(RegOverridePredefKey(HKEY_LOCAL_MACHINE, hive), "RegOverridePredefKey");
  RegCloseKey(hive);
}

void TestMachine::UseOwnCommonFolders() {
  NameCommonFolder(L"\\Explorer\\User Shell Folders", L"Common AppData", base / "data");
  NameCommonFolder(L"", L"CommonFilesDir", base / "program-files");
}

TestMachine::~TestMachine() {
  RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
  RegDeleteTreeW(HKEY_CURRENT_USER, HiveOf(base).c_str());
  RemoveTree(L"\\\\?\\" + base.wstring());
}

void OpenToEverybody(const std::filesystem::path& path) {
  PSECURITY_DESCRIPTOR rights = nullptr;
  const bool isOpen =
      ConvertStringSecurityDescriptorToSecurityDescriptorW(
          L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;WD)", SDDL_REVISION_1, &rights, nullptr) != FALSE &&
      SetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, rights) != FALSE;
  LocalFree(rights);
  if (!isOpen) throw std::runtime_error("can't open to everybody: " + path.string());
}

WideString TestMachine::WideFolder() const { return folder.wstring() + L'\\'; }

}  // namespace larder
