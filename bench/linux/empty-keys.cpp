// Copies one key's directory. Making each key by the registry's functions takes minutes, because
// every new name is compared with all others.
#include "machine.h"
#include "support/registry.h"

namespace larder {

void Machine::AddEmptyKeys(std::int64_t count) const {
  const WideString key = WideString(kProvidersKey) + LARDER_WIDE("\\empty-1");
  SetRegistryString(key, LARDER_WIDE("value"), LARDER_WIDE(""));
  DeleteRegistryValue(key, LARDER_WIDE("value"));
  std::filesystem::path first;
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(Folder().parent_path() / "root")) {
    if (entry.path().filename() == "empty-1") first = entry.path();
  }
  for (std::int64_t i = 2; i <= count; ++i) {
    std::filesystem::create_directory(first.parent_path() / ("empty-" + std::to_string(i)), first);
  }
}

}  // namespace larder
