#include "tools/larder/setup/setup-plan.h"

#include <larder/feed-file.h>
#include <larder/feed-stats.h>

#include <algorithm>
#include <chrono>

#include "platform/code.h"
#include "platform/message.h"
#include "platform/registry.h"
#include "platform/scoped-handle.h"
#include "product/product.h"
#include "support/registry.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/registry/registry-value.h"
#include "tools/larder/setup/module-folder.h"
#include "tools/larder/status/module-file.h"
#include "tools/larder/status/provider-probe.h"

namespace larder::tool {
namespace {

constexpr std::chrono::seconds kMaxLoadTime(10);

struct IncludedProvider {
  const LarderWideChar* key;
  std::int32_t type;
};

constexpr IncludedProvider kIncluded[] = {{kFeedFileKey, LARDER_FEED_FILE_TYPE},
                                          {kFeedTestKey, 2},
                                          {kFeedStatsKey, LARDER_FEED_STATS_TYPE}};

std::string Utf8(const WideString& text) { return platform::Utf8FromWide(text); }

// The registry compares names without regard to case. One of the two names is always the product's
// own, which has letters A to Z only.
bool IsSameName(WideView a, WideView b) {
  const auto lower = [](LarderWideChar unit) {
    return unit >= 'A' && unit <= 'Z' ? static_cast<LarderWideChar>(unit + ('a' - 'A')) : unit;
  };
  return std::ranges::equal(a, b, {}, lower, lower);
}

// A key that doesn't exist has no names.
platform::Code NamesIn(const WideString& subkey, NameReader read, std::vector<WideString>& names) {
  platform::OwnedRegistryKey key;
  const platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(subkey), platform::kKeyRead, key.Out());
  if (code == platform::kFileNotFound) return platform::kSuccess;
  return code == platform::kSuccess ? ReadNames(key.Get(), read, names) : code;
}

// A provider that setup doesn't register, or a query module that the administrator has chosen.
struct OtherModule {
  WideString key;
  WideString file;
  bool isProvider = true;
};

class Planner {
 public:
  explicit Planner(const SetupOptions& chosen) : options(chosen) {}

  SetupPlan Make() {
    if (IsInstalledInCommonFiles()) {
      Refuse("szLocation names the place of a real installation, " + Utf8(formerLocation));
      return plan;
    }
    PlanValues();
    PlanProviders();
    PlanMark();
    FindKept({});
    CheckLocation();
    CheckModules();
    CheckOthers();
    CheckRights();
    return plan;
  }

 private:
  void Refuse(const std::string& reason) {
    const auto known = std::ranges::find(plan.obstacles, reason);
    if (known == plan.obstacles.end()) plan.obstacles.push_back(reason);
  }
  // Refuses if they can't be listed: setup must know what it keeps.
  std::vector<WideString> ListNames(const WideString& subkey, NameReader read) {
    std::vector<WideString> names;
    const platform::Code code = NamesIn(subkey, read, names);
    if (code != platform::kSuccess) {
      Refuse("the key " + KeyLabel(subkey) + " can't be listed: " + platform::SystemReason(code));
    }
    return names;
  }

  [[nodiscard]] bool IsPlanned(const WideString& subkey, const WideString& name) const {
    return std::ranges::any_of(plan.values, [&](const PlannedValue& each) {
      return IsSameName(each.value.subkey, subkey) && IsSameName(each.value.name, name);
    });
  }
  [[nodiscard]] bool IsPlannedKey(const WideString& subkey) const {
    return std::ranges::any_of(plan.values, [&](const PlannedValue& each) {
      return IsSameName(each.value.subkey, subkey);
    });
  }

  void PlanValues();
  void PlanValue(const DefaultValue& value);
  void PlanProviders();
  void PlanMark();
  void FindKept(const WideString& subkey);
  void KeepValue(const ValueName& target);
  void CheckLocation();
  void CheckModules();
  void CheckOthers();
  void CheckPlace(const OtherModule& other);
  void CheckType(const OtherModule& other);
  void CheckRights();

  const SetupOptions options;
  const WideString formerLocation = GetRegistryString(kInstallKey, kLocationValue);
  WideString location;
  std::vector<OtherModule> others;
  SetupPlan plan;
};

void Planner::PlanValue(const DefaultValue& value) {
  PlannedValue planned{value, {}, GetRegistryString(value.subkey, value.name) == value.data};
  RegistryValue stored;
  if (GetValue({value.subkey, value.name}, stored) == platform::kSuccess) {
    planned.former = TypeName(stored.type) + "\t" + DataText(stored);
  }
  plan.values.push_back(planned);
}

void Planner::PlanValues() {
  std::vector<DefaultValue> values = DefaultProviderValues();
  if (!options.withTestProvider) {
    std::erase_if(values, [](const DefaultValue& each) { return each.subkey == kFeedTestKey; });
  }
  const WideString query = GetRegistryString(kFeedFileKey, kQueryModuleValue);
  if (!options.isOnly && !query.empty() && query != kStockQueryModule) {
    std::erase_if(values, [](const DefaultValue& each) { return each.name == kQueryModuleValue; });
    others.push_back({kFeedFileKey, query, false});
  }
  std::vector<WideString> files;
  for (const DefaultValue& each : values) {
    if (each.name != kLocationValue) files.push_back(each.data);
  }
  std::string fault;
  location = FindModuleFolder(files, fault);
  if (!fault.empty()) Refuse(fault);
  if (options.withLog) values.push_back({kLoggingKey, kLoggingValue, kLoggingOn});
  for (DefaultValue& each : values) {
    if (each.name == kLocationValue) each.data = location;
    PlanValue(each);
  }
}

void Planner::PlanProviders() {
  for (const WideString& name : ListNames(kProvidersKey, &platform::RegistrySubkeyName)) {
    const WideString subkey = kProvidersKey + (LARDER_WIDE('\\') + name);
    if (IsPlannedKey(subkey)) continue;
    if (options.isOnly) {
      plan.deletedKeys.push_back(subkey);
      continue;
    }
    const WideString file = GetRegistryString(subkey, kModuleValue);
    if (!file.empty()) others.push_back({subkey, file});
  }
}

void Planner::PlanMark() {
  plan.mark.before = IsOpenToAll(kProvidersKey);
  plan.mark.after = options.isOpenToAll.value_or(plan.mark.before);
}

void Planner::KeepValue(const ValueName& target) {
  RegistryValue stored;
  std::string columns = Utf8(target.subkey) + "\t" + Utf8(target.name);
  if (GetValue(target, stored) == platform::kSuccess) {
    columns += "\t" + TypeName(stored.type) + "\t" + DataText(stored);
  }
  plan.kept.push_back(columns);
}

void Planner::FindKept(const WideString& subkey) {
  for (const WideString& name : ListNames(subkey, &platform::RegistryValueName)) {
    if (!IsPlanned(subkey, name)) KeepValue({subkey, name});
  }
  const WideString prefix = subkey.empty() ? subkey : subkey + LARDER_WIDE('\\');
  for (const WideString& name : ListNames(subkey, &platform::RegistrySubkeyName)) {
    if (std::ranges::find(plan.deletedKeys, prefix + name) == plan.deletedKeys.end()) {
      FindKept(prefix + name);
    }
  }
}

void Planner::CheckLocation() {
  if (location.size() <= kMaxRegistryCharacters) return;
  Refuse("the path of the modules has " + std::to_string(location.size()) +
         " characters, and the library reads at most " + std::to_string(kMaxRegistryCharacters) +
         ": " + PathText(location));
}

void Planner::CheckModules() {
  if (location.empty()) return;
  for (const auto& [value, former, isSame] : plan.values) {
    const bool isProvider = value.name == kModuleValue;
    if (!isProvider && value.name != kQueryModuleValue) continue;
    const WideString path = location + value.data;
    const std::string fault =
        FindLoadFault(path, isProvider ? kProviderExport : kFileQueryExport, kMaxLoadTime);
    if (!fault.empty()) Refuse(PathText(path) + " can't be used: " + fault);
  }
}

void Planner::CheckOthers() {
  if (location.empty()) return;
  for (const OtherModule& other : others) {
    if (formerLocation != location && !IsThere(location + other.file)) {
      CheckPlace(other);
    } else if (other.isProvider) {
      CheckType(other);
    }
  }
}

void Planner::CheckPlace(const OtherModule& other) {
  Refuse("the key " + KeyLabel(other.key) + " names \"" + Utf8(other.file) + "\", which isn't in " +
         PathText(location) + "; szLocation, now \"" + Utf8(formerLocation) +
         "\", applies to all modules. Copy the module there, or use --only");
}

void Planner::CheckType(const OtherModule& other) {
  const ProbeResult probe = ProbeProvider(location + other.file, kMaxLoadTime);
  for (const IncludedProvider& included : kIncluded) {
    if (probe.type != included.type || !IsPlannedKey(included.key)) continue;
    Refuse("the provider of the key " + KeyLabel(other.key) + " has the type " +
           std::to_string(included.type) + ", which " + KeyLabel(included.key) +
           " has too. Delete the key, or use --only");
  }
}

// Opens the key, or the nearest one above it that exists, for what must be done below it.
platform::Code TryToOpen(WideString path) {
  constexpr std::uint32_t kAccess = platform::kKeySetValue | platform::kKeyCreateSubKey;
  for (;;) {
    platform::OwnedRegistryKey key;
    const platform::Code code = platform::OpenRegistryKey(path, kAccess, key.Out());
    const std::size_t last = path.rfind(LARDER_WIDE('\\'));
    if (code != platform::kFileNotFound || last == WideString::npos) return code;
    path.resize(last);
  }
}

// If there is no registry yet, the first change shows whether it can be created.
void Planner::CheckRights() {
  std::vector<WideString> changed = plan.deletedKeys;
  for (const PlannedValue& each : plan.values) {
    if (!each.isSame) changed.push_back(each.value.subkey);
  }
  if (plan.mark.before != plan.mark.after) changed.emplace_back(kProvidersKey);
  for (const WideString& subkey : changed) {
    const platform::Code code = TryToOpen(PathOfSubkey(subkey));
    if (code == platform::kSuccess || code == platform::kFileNotFound) continue;
    return Refuse("the key " + KeyLabel(subkey) +
                  " can't be changed: " + platform::SystemReason(code));
  }
}

}  // namespace

SetupPlan MakeSetupPlan(const SetupOptions& options) { return Planner(options).Make(); }

}  // namespace larder::tool
