#include "providers/provider-discovery.h"

#include "log/log-statement.h"
#include "product/product.h"
#include "support/registry.h"

namespace larder {

namespace {

void AddProviderPath(const WideString& location, const WideString& name,
                     std::vector<WideString>& paths) {
  const WideString subkey = WideString(kProvidersKey) + LARDER_WIDE("\\") + name;
  const WideString dll = GetRegistryString(subkey, kModuleValue);
  if (dll.empty()) {
    LogWarn("Failed to get a provider location for ", name);
    return;
  }
  paths.push_back(location + dll);
}

}  // namespace

std::vector<WideString> GetDataProviderPaths() {
  ScopeTrace scope("Entering GetDataProviderPaths()", "Leaving GetDataProviderPaths()");
  std::vector<WideString> paths;
  const WideString location = GetRegistryString(kInstallKey, kLocationValue);
  // Opened for all access although it is only read: a process without write access gets no
  // providers.
  const AutoRegKeyHandle key = OpenRegistrySubkey(kProvidersKey, platform::kKeyAllAccess);
  platform::Code status = platform::kSuccess;
  for (std::uint32_t index = 0;; ++index) {
    LarderWideChar name[kRegistryNameRoom] = {};
    std::uint32_t length = kRegistryNameRoom;
    status = platform::RegistrySubkeyName(key.Get(), index, name, length);
    if (status != platform::kSuccess) break;
    AddProviderPath(location, name, paths);
  }
  LogWarn("RegEnumKeyEx failed: ", FormatSystemError(status));
  return paths;
}

}  // namespace larder
