#include "tools/tool-machine.h"

#include <windows.h>

#include <sddl.h>

#include <string>
#include <system_error>
#include <vector>

#include "platform/registry.h"
#include "support/registry.h"

namespace larder {
namespace {

WideString RootPath() {
  return WideString(LarderRegistryRoot.substr(0, LarderRegistryRoot.size() - 1));
}

platform::Code RemoveRoot() { return platform::RemoveRegistryTree(RootPath()); }

void ClearRegistry() {
  const platform::Code code = RemoveRoot();
  if (code != platform::kSuccess && code != platform::kFileNotFound) {
    throw std::system_error(static_cast<int>(code), std::system_category(), "clear the registry");
  }
}

std::filesystem::path MakeFolder() {
  const auto temporary = std::filesystem::canonical(std::filesystem::temp_directory_path());
  for (int attempt = 0;; ++attempt) {
    std::filesystem::path folder = temporary / ("larder-tool-" + std::to_string(attempt));
    if (std::filesystem::create_directory(folder)) return folder;
  }
}

// access: in the system's language for security descriptors.
void SetAccess(const std::wstring& path, const wchar_t* access) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  HKEY key = nullptr;
  LSTATUS status = ERROR_INVALID_PARAMETER;
  if (ConvertStringSecurityDescriptorToSecurityDescriptorW(access, SDDL_REVISION_1, &descriptor,
                                                           nullptr) != FALSE) {
    status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, WRITE_DAC, &key);
  }
  if (status == ERROR_SUCCESS) {
    status = RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor);
  }
  RegCloseKey(key);
  LocalFree(descriptor);
  if (status != ERROR_SUCCESS) {
    throw std::system_error(static_cast<int>(status), std::system_category(), "set access");
  }
}

}  // namespace

struct ToolMachine::Parts {
  std::filesystem::path folder = MakeFolder();
  std::vector<std::wstring> forbidden;  // keys
};

ToolMachine::ToolMachine() {
  ClearRegistry();
  parts = std::make_unique<Parts>();
}

ToolMachine::~ToolMachine() {
  for (const std::wstring& key : parts->forbidden) SetAccess(key, L"D:(A;;GA;;;WD)");
  RemoveRoot();
  std::error_code ignored;
  std::filesystem::remove_all(parts->folder, ignored);
}

const std::filesystem::path& ToolMachine::Folder() const { return parts->folder; }

// Below a key that ends with the system's session the system makes no lasting ones.
void ToolMachine::ForbidNewKeys() {
  HKEY key = nullptr;
  const LSTATUS status =
      RegCreateKeyExW(HKEY_LOCAL_MACHINE, RootPath().c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                      KEY_ALL_ACCESS, nullptr, &key, nullptr);
  if (status != ERROR_SUCCESS) {
    throw std::system_error(static_cast<int>(status), std::system_category(), "forbid new keys");
  }
  RegCloseKey(key);
}

// Its access list denies reading to everybody, administrators included.
void ToolMachine::ForbidKey(const std::string& name) {
  const std::wstring path = RootPath() + L"\\" + std::wstring(name.begin(), name.end());
  SetAccess(path, L"D:(D;;KR;;;WD)(A;;GA;;;WD)");
  parts->forbidden.push_back(path);
}

}  // namespace larder
