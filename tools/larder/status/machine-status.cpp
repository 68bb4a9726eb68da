#include "tools/larder/status/machine-status.h"

#include <larder/larder.h>

#include "platform/folder.h"
#include "platform/message.h"
#include "platform/wide.h"
#include "product/product.h"
#include "tools/larder/status/machine-root.h"

namespace larder::tool {
namespace {

std::string LocationFault(const WideString& location) {
  if (location.empty()) return {};
  if (!location.ends_with(LARDER_WIDE('\\'))) {
    return "it has no backslash at its end, so the names of the modules are run together with it";
  }
  std::uint32_t attributes = 0;
  const platform::Code code = platform::PathAttributes(location, attributes);
  if (code != platform::kSuccess) return "the folder isn't there: " + platform::SystemReason(code);
  const bool isFolder = (attributes & platform::kAttributeDirectory) != 0;
  return isFolder ? "" : "it isn't a folder";
}

std::string CulpritOf(const ProviderStatus& provider) {
  return platform::Utf8FromWide(provider.dll.text) + " (DataProviders\\" +
         platform::Utf8FromWide(provider.key) + ")";
}

std::string ReasonOfNoProvider(const MachineStatus& status) {
  if (!status.providersFault.empty()) return status.providersFault;
  std::string reason = "no key below it names a module";
  for (const ProviderStatus& provider : status.providers) {
    reason += "; \"" + platform::Utf8FromWide(provider.key) + "\", szDLL: " + provider.dll.fault;
  }
  return reason;
}

// The library loads the modules in the registry's order and stops at the first that fails.
Verdict Judge(const MachineStatus& status) {
  bool hasProvider = false;
  for (const ProviderStatus& provider : status.providers) {
    if (provider.dll.text.empty()) continue;
    hasProvider = true;
    if (provider.probe.fault.empty()) continue;
    std::optional<std::int32_t> result;
    if (!provider.probe.isFatal) result = LARDER_E_DB_OPEN_FAILED;
    return {result, CulpritOf(provider), provider.probe.fault};
  }
  if (!hasProvider) {
    return {LARDER_E_DB_OPEN_FAILED, "the key " + KeyLabel(kProvidersKey),
            ReasonOfNoProvider(status)};
  }
  for (const ProviderStatus& provider : status.providers) {
    if (provider.probe.endFault.empty()) continue;
    return {LARDER_OK, CulpritOf(provider), provider.probe.endFault};
  }
  return {LARDER_OK, {}, {}};
}

}  // namespace

MachineStatus FindMachineStatus(std::chrono::milliseconds limit) {
  MachineStatus status;
  status.location = ReadStatusValue({kInstallKey, kLocationValue});
  status.locationFault = LocationFault(status.location.text);
  status.isOpenToAll = IsOpenToAll(kProvidersKey);
  status.providers = FindProviders(status.location, limit, status.providersFault);
  status.rootFault = MachineRootFault();
  status.log = FindLogStatus();
  status.trace = FindTraceObject(limit);
  status.store = FindStoreStatus(status.providers);
  status.event = FindEventStatus();
  status.verdict = Judge(status);
  return status;
}

}  // namespace larder::tool
