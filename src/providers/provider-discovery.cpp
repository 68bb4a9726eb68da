#include "providers/provider-discovery.h"

#include <algorithm>

#include "diag/log-statement.h"
#include "support/registry.h"

namespace larder {

namespace {

constexpr WideView kDefaultLocation =
    LARDER_WIDE("C:\\Program Files\\Common Files\\Velmor\\Baserack\\");
constexpr std::uint32_t kNameRoom = 256;  // characters, terminator included

LarderWideChar LowerCase(LarderWideChar unit) {
  return unit >= 'A' && unit <= 'Z' ? static_cast<LarderWideChar>(unit + ('a' - 'A')) : unit;
}

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

bool IsInstalledInCommonFiles() {
  const WideString location = GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"));
  if (location.empty()) return false;
  const WideView prefix = kDefaultLocation.substr(0, location.size());
  return std::equal(
      location.begin(), location.end(), prefix.begin(), prefix.end(),
      [](LarderWideChar a, LarderWideChar b) { return LowerCase(a) == LowerCase(b); });
}

}  // namespace larder
