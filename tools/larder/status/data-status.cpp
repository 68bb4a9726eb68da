#include "tools/larder/status/data-status.h"

#include <string_view>

#include "log-file/log-files.h"
#include "platform/event.h"
#include "platform/folder-access.h"
#include "platform/folder.h"
#include "platform/message.h"
#include "product/product.h"
#include "product/stored-records.h"
#include "support/paths.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/log/log-runs.h"
#include "tools/larder/status/module-file.h"

namespace larder::tool {
namespace {

using platform::OtherUsers;

constexpr LarderWideChar kSeparator = '\\';
constexpr std::uint64_t kMinSpace = std::uint64_t{kMaxLogSize} * (kMaxLogGenerations + 1);
constexpr const char* kSetUp = "run \"larder setup\" as an administrator";

struct Finding {
  std::string reason;  // empty if there is none
  std::string step;
  bool isMissingRight = false;  // it works for other users
};

std::string Quoted(const WideString& path) { return '"' + PathText(path) + '"'; }

WideString WithoutSeparator(WideString path) {
  while (path.ends_with(kSeparator)) path.pop_back();
  return path;
}

// The folder, or the nearest one above it that exists.
WideString NearestFolder(const WideString& folder) {
  WideString path = WithoutSeparator(folder);
  while (!path.empty() && !IsThere(path)) {
    const std::size_t end = path.rfind(kSeparator);
    path.resize(end == WideString::npos ? 0 : end);
  }
  return path;
}

// The system's own folder must not be deleted.
std::string StepAgainst(const platform::Distrust& distrust) {
  WideString common;
  if (platform::CommonFolderPath(platform::CommonFolder::kData, common) != platform::kSuccess) {
    return kSetUp;
  }
  if (distrust.folder == common) return "let only the administrator change that folder";
  return std::string("delete it or move it away, and ") + kSetUp;
}

// Why programs of this user can't create files in a folder of the product, which needn't exist.
Finding FindFolderFault(const WideString& folder, OtherUsers others) {
  const platform::Distrust distrust = platform::DataFolderDistrust(folder, others);
  if (!distrust.reason.empty()) {
    return {Quoted(distrust.folder) + " " + distrust.reason, StepAgainst(distrust)};
  }
  const WideString nearest = NearestFolder(folder);
  std::uint64_t space = 0;
  const platform::Code code = platform::QueryCreation(nearest, space);
  if (code != platform::kSuccess) {
    const bool isItself = nearest == WithoutSeparator(folder);
    return {"this user can't create " + std::string(isItself ? "files" : "a folder") + " in " +
                Quoted(nearest) + ": " + platform::SystemReason(code),
            isItself ? "run the program as an administrator or as the folder's owner" : kSetUp,
            code == platform::kAccessDenied};
  }
  if (space >= kMinSpace) return {};
  return {
      "the disk with " + Quoted(nearest) + " is full: " + std::to_string(space) + " bytes are free",
      "free some space"};
}

void CountLogs(LogStatus& log) {
  std::vector<LogRun> runs;
  if (!log.hasFolder || !FindLogRuns(runs)) return;
  for (const LogRun& run : runs) {
    log.files += run.files.size();
    for (const LogFile& file : run.files) log.bytes += file.info.size;
  }
}

// Null if no module with a store could be tried.
const std::string* StoreFault(const std::vector<ProviderStatus>& providers) {
  for (const ProviderStatus& provider : providers) {
    if (provider.probe.storeFault) return &*provider.probe.storeFault;
  }
  return nullptr;
}

}  // namespace

LogStatus FindLogStatus() {
  LogStatus log;
  log.isOn = IsLoggingEnabled();
  log.value = ReadStatusValue({kLoggingKey, kLoggingValue});
  log.folder = GetLarderLogPath();
  std::uint32_t attributes = 0;
  log.hasFolder = platform::PathAttributes(log.folder, attributes) == platform::kSuccess &&
                  (attributes & platform::kAttributeDirectory) != 0;
  CountLogs(log);
  if (!log.isOn) return log;
  const Finding finding = FindFolderFault(log.folder, OtherUsers::kMayAdd);
  if (!finding.reason.empty()) {
    log.fault = "no log can be written: " + finding.reason + "; " + finding.step;
  } else if (!platform::FolderDistrust(log.folder, OtherUsers::kMayNotWrite).empty()) {
    log.note = std::string("every user may add files to the folder; ") + kSetUp;
  }
  return log;
}

StoreStatus FindStoreStatus(const std::vector<ProviderStatus>& providers) {
  StoreStatus store;
  const std::string* const fault = StoreFault(providers);
  store.isThere = fault != nullptr;
  if (!store.isThere) return store;
  const WideString parent =
      GetLarderDataPath() + kDatabasesFolder + kSeparator + kFeedFileFolder + kSeparator;
  store.folder = parent + kStoreFolder;
  const WideString aside = parent + LARDER_WIDE("set-aside");
  if (IsThere(aside)) {
    store.note = "a damaged store was moved to " + Quoted(aside) + "; it may be deleted";
  }
  const Finding finding = FindFolderFault(store.folder, OtherUsers::kMayNotWrite);
  if (fault->empty()) {
    store.state = finding.reason.empty() ? "usable" : "only read: " + finding.reason;
  } else if (*fault == kStoreIsOff) {
    store.state = "off: " + *fault;
  } else {
    store.state = "none: every record is computed";
    (finding.isMissingRight ? store.note : store.fault) =
        *fault + "; " +
        (finding.step.empty() ? "\"larder log on\" and \"larder log show feedf.log\" "
                                "show what the provider reports"
                              : finding.step);
  }
  return store;
}

EventStatus FindEventStatus() {
  EventStatus event;
  const platform::Code code = platform::QueryNamedEvent(kInstallerEvent, event.isRaised);
  if (code != platform::kSuccess) {
    event.fault = "it can't be queried: " + platform::SystemReason(code);
  } else if (event.isRaised) {
    event.fault =
        "a program that starts the library is called back at once, as during an upgrade or a "
        "removal; if there is none, \"larder notify --reset\" lowers it";
  }
  return event;
}

}  // namespace larder::tool
