#include "tools/larder/registry/registry-edit.h"

#include "platform/registry.h"
#include "platform/utf.h"
#include "tools/larder/registry/registry-tree.h"

namespace larder::tool {

std::string ValueLabel(const ValueName& target) {
  return "value \"" + platform::Utf8FromWide(target.name) + "\" of key " + KeyLabel(target.subkey);
}

platform::Code SetValue(const ValueName& target, const RegistryValue& value) {
  platform::OwnedRegistryKey key;
  const platform::Code code =
      platform::MakeRegistryKey(PathOfSubkey(target.subkey), platform::kKeySetValue, key.Out());
  if (code != platform::kSuccess) return code;
  return platform::SetRegistryValue(key.Get(), target.name, value.type, value.data.data(),
                                    static_cast<std::uint32_t>(value.data.size()));
}

platform::Code DeleteValue(const ValueName& target) {
  platform::OwnedRegistryKey key;
  const platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(target.subkey), platform::kKeySetValue, key.Out());
  return code == platform::kSuccess ? platform::RemoveRegistryValue(key.Get(), target.name) : code;
}

}  // namespace larder::tool
