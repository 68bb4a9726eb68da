#include "registry-edit.h"

#include "platform/registry.h"
#include "platform/utf.h"
#include "registry-tree.h"

namespace larder::tool {

std::string ValueLabel(const ValueName& target) {
  return "value \"" + platform::Utf8FromWide(target.name) + "\" of key " + KeyLabel(target.subkey);
}

platform::Code SetValue(const ValueName& target, const RegistryValue& value) {
  platform::RegistryKey opened = nullptr;
  const platform::Code code =
      platform::MakeRegistryKey(PathOfSubkey(target.subkey), platform::kKeySetValue, opened);
  const OwnedKey key(opened);
  if (code != platform::kSuccess) return code;
  return platform::SetRegistryValue(opened, target.name, value.type, value.data.data(),
                                    static_cast<std::uint32_t>(value.data.size()));
}

platform::Code DeleteValue(const ValueName& target) {
  platform::RegistryKey opened = nullptr;
  const platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(target.subkey), platform::kKeySetValue, opened);
  const OwnedKey key(opened);
  return code == platform::kSuccess ? platform::RemoveRegistryValue(opened, target.name) : code;
}

}  // namespace larder::tool
