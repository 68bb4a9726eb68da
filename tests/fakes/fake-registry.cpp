#include "fakes/fake-registry.h"

#include <cstring>

#include "platform/wide.h"

namespace larder {

FakeRegistry CurrentRegistry;

namespace platform {
namespace {

Code Answer(const std::string& operation, const WideString& name, Code usual = kSuccess) {
  const std::string call = operation + Utf8FromWide(name);
  CurrentRegistry.calls.push_back(call);
  const auto found = CurrentRegistry.codes.find(call);
  return found == CurrentRegistry.codes.end() ? usual : found->second;
}

Code Open(Code code, RegistryKey& key) {
  key = code == kSuccess ? reinterpret_cast<RegistryKey>(&CurrentRegistry) : nullptr;
  return code;
}

}  // namespace

Code OpenRegistryKey(const WideString& path, std::uint32_t, RegistryKey& key) {
  return Open(Answer("open ", path), key);
}

Code MakeRegistryKey(const WideString& path, std::uint32_t, RegistryKey& key) {
  return Open(Answer("make ", path), key);
}

void CloseRegistryKey(RegistryKey) noexcept {}

Code QueryRegistryValue(RegistryKey, const WideString& name, std::uint32_t& type, void* data,
                        std::uint32_t& size) {
  const WideString& text = CurrentRegistry.location;
  if (text.empty()) return Answer("query ", name, kFileNotFound);
  type = kRegSz;
  size = static_cast<std::uint32_t>((text.size() + 1) * sizeof(LarderWideChar));
  std::memcpy(data, text.c_str(), size);
  return Answer("query ", name);
}

Code SetRegistryValue(RegistryKey, const WideString& name, std::uint32_t, const void*,
                      std::uint32_t) {
  return Answer("set ", name);
}

Code RemoveRegistryValue(RegistryKey, const WideString& name) {
  return Answer("remove value ", name);
}

Code RegistrySubkeyName(RegistryKey, std::uint32_t, LarderWideChar*, std::uint32_t&) {
  return Answer("subkey", {}, kNoMoreItems);
}

Code RegistryValueName(RegistryKey, std::uint32_t, LarderWideChar*, std::uint32_t&) {
  return Answer("value", {}, kNoMoreItems);
}

Code RemoveRegistryTree(const WideString& path) { return Answer("remove tree ", path); }

Code RemoveRegistryKey(RegistryKey, const WideString& name) { return Answer("remove key ", name); }

}  // namespace platform
}  // namespace larder
