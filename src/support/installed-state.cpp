#include "support/installed-state.h"

#include <algorithm>
#include <vector>

#include "log/log-statement.h"
#include "platform/folder.h"
#include "product/product.h"
#include "support/paths.h"
#include "support/registry.h"
#include "support/scoped-handles.h"

namespace larder {

namespace {

constexpr WideView kDefaultLocation =
    LARDER_WIDE("C:\\Program Files\\Common Files\\Velmor\\Baserack\\");
constexpr const LarderWideChar* kMakerParent = LARDER_WIDE("Software\\");
constexpr const LarderWideChar* kMakerName = LARDER_WIDE("Velmor");

LarderWideChar LowerCase(LarderWideChar unit) {
  return unit >= 'A' && unit <= 'Z' ? static_cast<LarderWideChar>(unit + ('a' - 'A')) : unit;
}

platform::Code DeleteTree(const WideString& directory) {
  std::vector<LarderWideChar> source(directory.begin(), directory.end());
  source.insert(source.end(), 2, LarderWideChar());
  return platform::DeleteTree(source.data());
}

using Enumeration = platform::Code (*)(platform::RegistryKey key, std::uint32_t index,
                                       LarderWideChar* name, std::uint32_t& length);

// Whether an enumeration of the maker's key finds nothing; logs why not. call: its name in the log.
bool FindsNothing(const AutoRegKeyHandle& key, Enumeration enumerate, const char* call) {
  LarderWideChar name[kRegistryNameRoom] = {};
  std::uint32_t length = kRegistryNameRoom;
  const platform::Code code = enumerate(key.Get(), 0, name, length);
  if (code == platform::kNoMoreItems) return true;
  if (code == platform::kSuccess) {
    LogTrace("Velmor reg key is not empty.");
  } else {
    LogWarn(call, " failed for \"", kMakerKey, "\": ", FormatSystemError(code));
  }
  return false;
}

// False after a WARN line.
bool OpenKey(const LarderWideChar* path, AutoRegKeyHandle& key) {
  const platform::Code code = platform::OpenRegistryKey(path, platform::kKeyAllAccess, key.Out());
  if (code == platform::kSuccess) return true;
  LogWarn("RegOpenKeyEx failed for \"", path, "\": ", FormatSystemError(code));
  return false;
}

void DeleteMakerKey() {
  LogTrace("Velmor reg key is empty - deleting it.");
  AutoRegKeyHandle parent;
  if (!OpenKey(kMakerParent, parent)) return;
  const platform::Code code = platform::RemoveRegistryKey(parent.Get(), kMakerName);
  if (code != platform::kSuccess) {
    LogWarn("RegDeleteKeyEx failed for \"", kMakerKey, "\": ", FormatSystemError(code));
  }
}

}  // namespace

bool IsInstalledInCommonFiles() {
  const WideString location = GetRegistryString(kInstallKey, kLocationValue);
  if (location.empty()) return false;
  const WideView prefix = kDefaultLocation.substr(0, location.size());
  return std::equal(
      location.begin(), location.end(), prefix.begin(), prefix.end(),
      [](LarderWideChar a, LarderWideChar b) { return LowerCase(a) == LowerCase(b); });
}

void DeleteDirectoryAndParentIfEmpty(const WideString& directory, const WideString& parent) {
  ScopeTrace scope("Entering DeleteDirectoryAndParentIfEmpty()",
                   "Leaving DeleteDirectoryAndParentIfEmpty()");
  const platform::Code result = DeleteTree(directory);
  if (result != platform::kSuccess) {
    LogWarn("SHFileOperation() failed: ", static_cast<std::int32_t>(result));
    return;
  }
  if (!platform::IsFolderEmpty(parent)) {
    LogTrace("Velmor directory is not empty.");
    return;
  }
  const platform::Code code = platform::RemoveFolder(parent);
  if (code != platform::kSuccess) LogWarn("RemoveDirectory() failed: ", FormatSystemError(code));
}

void DeleteLarderDataDir() {
  ScopeTrace scope("Entering DeleteLarderDataDir()", "Leaving DeleteLarderDataDir()");
  const WideString directory = GetLarderDataPath();
  DeleteDirectoryAndParentIfEmpty(directory, GetVelmorDataPath());
}

void DeleteLarderProgramDir() {
  ScopeTrace scope("Entering DeleteLarderProgramDir()", "Leaving DeleteLarderProgramDir()");
  const WideString directory = GetLarderProgramDir();
  DeleteDirectoryAndParentIfEmpty(directory, GetVelmorProgramPath());
}

void DeleteLarderDataTree() {
  WideString path;
  if (platform::CommonFolderPath(platform::CommonFolder::kData, path) != platform::kSuccess) return;
  static_cast<void>(DeleteTree(path + LARDER_WIDE("\\") + kMakerFolder + LARDER_WIDE("\\") +
                               kProductFolder + LARDER_WIDE("\\")));
}

void DeleteLarderRegistryEntries() {
  ScopeTrace scope("Entering DeleteLarderRegistryEntries()",
                   "Leaving DeleteLarderRegistryEntries()");
  if (IsInstalledInCommonFiles()) return;
  const platform::Code code = platform::RemoveRegistryTree(WideString(LarderRegistryRoot));
  if (code != platform::kSuccess) {
    LogWarn("RegDeleteTree failed for \"", LarderRegistryRoot, "\": ", FormatSystemError(code));
  }
  DeleteVelmorRegistryKeyIfEmpty();
}

void DeleteVelmorRegistryKeyIfEmpty() {
  ScopeTrace scope("Entering DeleteVelmorRegistryKeyIfEmpty()",
                   "Leaving DeleteVelmorRegistryKeyIfEmpty()");
  AutoRegKeyHandle key;  // open until the end, also while the key is deleted
  if (!OpenKey(kMakerKey, key)) return;
  if (!FindsNothing(key, &platform::RegistrySubkeyName, "RegEnumKeyEx")) return;
  if (!FindsNothing(key, &platform::RegistryValueName, "RegEnumValue")) return;
  DeleteMakerKey();
}

void RemoveRegistryIfNotInstalled() {
  if (IsInstalledInCommonFiles()) return;
  DeleteLarderRegistryEntries();
  DeleteVelmorRegistryKeyIfEmpty();
}

std::vector<DefaultValue> DefaultProviderValues() {
  return {{kInstallKey, kLocationValue, GetPath(GetModuleName())},
          {kFeedTestKey, kModuleValue, LARDER_WIDE("feed-test.dll")},
          {kFeedFileKey, kModuleValue, LARDER_WIDE("feed-file.dll")},
          {kFeedFileKey, kQueryModuleValue, kStockQueryModule},
          {kFeedStatsKey, kModuleValue, LARDER_WIDE("feed-stats.dll")}};
}

void RegisterDefaultProviders() {
  if (IsInstalledInCommonFiles()) return;
  RemoveRegistryIfNotInstalled();
  for (const DefaultValue& value : DefaultProviderValues()) {
    SetRegistryString(value.subkey, value.name, value.data);
  }
}

}  // namespace larder
