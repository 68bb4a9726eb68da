#include "providers/provider-discovery.h"

#include "diag/log-statement.h"
#include "support/registry.h"

namespace larder {

namespace {

constexpr std::uint32_t kNameRoom = 256;  // characters, terminator included

void AddProviderPath(const WideString& location, const WideString& name,
                     std::vector<WideString>& paths) {
  const WideString subkey = LARDER_WIDE("DataProviders\\") + name;
  const WideString dll = GetRegistryString(subkey, LARDER_WIDE("szDLL"));
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
  const WideString location = GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"));
  // All access, though the key is only read: a process that may not write here gets no providers.
  const AutoRegKeyHandle key =
      OpenRegistrySubkey(LARDER_WIDE("DataProviders"), platform::kKeyAllAccess);
  platform::Code status = platform::kSuccess;
  for (std::uint32_t index = 0;; ++index) {
    LarderWideChar name[kNameRoom] = {};
    std::uint32_t length = kNameRoom;
    status = platform::RegistrySubkeyName(key.Get(), index, name, length);
    if (status != platform::kSuccess) break;
    AddProviderPath(location, name, paths);
  }
  LogWarn("RegEnumKeyEx failed: ", FormatSystemError(status));
  return paths;
}

}  // namespace larder
