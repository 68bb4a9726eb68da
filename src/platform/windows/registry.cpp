#include "platform/registry.h"

#include <windows.h>

namespace larder::platform {
namespace {

HKEY Native(RegistryKey key) { return reinterpret_cast<HKEY>(key); }

Code CodeOf(LSTATUS status) { return static_cast<Code>(status); }

bool HasNul(const WideString& text) { return text.find(L'\0') != WideString::npos; }

// The path without empty levels, which some of the system's calls accept and others don't.
WideString NormalizedPath(const WideString& path) {
  WideString normalized;
  for (std::size_t i = 0; i < path.size(); ++i) {
    const bool endsLevel = path[i] == L'\\';
    if (endsLevel && (normalized.empty() || normalized.back() == L'\\')) continue;
    normalized.push_back(path[i]);
  }
  if (!normalized.empty() && normalized.back() == L'\\') normalized.pop_back();
  return normalized;
}

}  // namespace

Code OpenRegistryKey(const WideString& path, std::uint32_t access, RegistryKey& key) {
  key = nullptr;
  if (HasNul(path)) return kInvalidParameter;
  HKEY opened = nullptr;
  const LSTATUS status =
      RegOpenKeyExW(HKEY_LOCAL_MACHINE, NormalizedPath(path).c_str(), 0, access, &opened);
  if (status == ERROR_SUCCESS) key = reinterpret_cast<RegistryKey>(opened);
  return CodeOf(status);
}

Code MakeRegistryKey(const WideString& path, std::uint32_t access, RegistryKey& key) {
  key = nullptr;
  if (HasNul(path)) return kInvalidParameter;
  HKEY opened = nullptr;
  const LSTATUS status =
      RegCreateKeyExW(HKEY_LOCAL_MACHINE, NormalizedPath(path).c_str(), 0, nullptr,
                      REG_OPTION_NON_VOLATILE, access, nullptr, &opened, nullptr);
  if (status == ERROR_SUCCESS) key = reinterpret_cast<RegistryKey>(opened);
  return CodeOf(status);
}

void CloseRegistryKey(RegistryKey key) noexcept {
  if (key != nullptr) RegCloseKey(Native(key));
}

Code QueryRegistryValue(RegistryKey key, const WideString& name, std::uint32_t& type, void* data,
                        std::uint32_t& size) {
  if (key == nullptr) return kInvalidHandle;
  if (HasNul(name)) return kInvalidParameter;
  DWORD valueType = type;
  DWORD valueSize = size;
  const LSTATUS status = RegQueryValueExW(Native(key), name.c_str(), nullptr, &valueType,
                                          static_cast<BYTE*>(data), &valueSize);
  if (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
    type = valueType;
    size = valueSize;
  }
  return CodeOf(status);
}

Code SetRegistryValue(RegistryKey key, const WideString& name, std::uint32_t type, const void* data,
                      std::uint32_t size) {
  if (key == nullptr) return kInvalidHandle;
  if (HasNul(name) || (data == nullptr && size > 0)) return kInvalidParameter;
  return CodeOf(
      RegSetValueExW(Native(key), name.c_str(), 0, type, static_cast<const BYTE*>(data), size));
}

Code RemoveRegistryValue(RegistryKey key, const WideString& name) {
  if (key == nullptr) return kInvalidHandle;
  if (HasNul(name)) return kInvalidParameter;
  return CodeOf(RegDeleteValueW(Native(key), name.c_str()));
}

Code RegistrySubkeyName(RegistryKey key, std::uint32_t index, LarderWideChar* name,
                        std::uint32_t& length) {
  if (key == nullptr) return kInvalidHandle;
  DWORD units = length;
  const LSTATUS status =
      RegEnumKeyExW(Native(key), index, name, &units, nullptr, nullptr, nullptr, nullptr);
  if (status == ERROR_SUCCESS) length = units;
  return CodeOf(status);
}

Code RegistryValueName(RegistryKey key, std::uint32_t index, LarderWideChar* name,
                       std::uint32_t& length) {
  if (key == nullptr) return kInvalidHandle;
  DWORD units = length;
  const LSTATUS status =
      RegEnumValueW(Native(key), index, name, &units, nullptr, nullptr, nullptr, nullptr);
  if (status == ERROR_SUCCESS) length = units;
  return CodeOf(status);
}

bool CanBeOpenToAll() noexcept { return false; }

bool IsOpenToAll(RegistryKey) { return false; }

Code SetOpenToAll(RegistryKey, bool isOpen) { return isOpen ? kNotSupported : kSuccess; }

// Both refuse the empty path, which to the system means the hive or the parent itself.

Code RemoveRegistryTree(const WideString& path) {
  const WideString normalized = NormalizedPath(path);
  if (normalized.empty() || HasNul(normalized)) return kInvalidParameter;
  return CodeOf(RegDeleteTreeW(HKEY_LOCAL_MACHINE, normalized.c_str()));
}

Code RemoveRegistryKey(RegistryKey parent, const WideString& name) {
  if (parent == nullptr) return kInvalidHandle;
  const WideString normalized = NormalizedPath(name);
  if (normalized.empty() || HasNul(normalized)) return kInvalidParameter;
  return CodeOf(RegDeleteKeyExW(Native(parent), normalized.c_str(), 0, 0));
}

}  // namespace larder::platform
