#include <stdexcept>

#include "machine.h"
#include "platform/registry.h"
#include "platform/scoped-handle.h"
#include "product/product.h"

namespace larder {

void Machine::AddEmptyKeys(std::int64_t count) const {
  const WideString root = WideString(LarderRegistryRoot) + kProvidersKey;
  for (std::int64_t i = 1; i <= count; ++i) {
    platform::OwnedRegistryKey key;
    if (platform::MakeRegistryKey(root + L"\\empty-" + std::to_wstring(i), platform::kKeySetValue,
                                  key.Out()) != platform::kSuccess) {
      throw std::runtime_error("a registry key can't be created");
    }
  }
}

}  // namespace larder
