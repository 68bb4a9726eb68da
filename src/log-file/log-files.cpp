#include "log-file/log-files.h"

#include <memory>

#include "log/log-statement.h"
#include "platform/file.h"
#include "platform/folder-access.h"
#include "platform/folder.h"
#include "platform/log-file.h"
#include "product/product.h"
#include "support/paths.h"
#include "support/registry.h"

namespace larder {

namespace {

constexpr WideView kLogExtension = LARDER_WIDE("log");

// Returns a temporary file's name whose number is free for a log, too. The temporary file is
// created and removed.
WideString DrawTemporaryName(const WideString& directory, const WideString& prefix) {
  WideString name;
  if (platform::MakeTemporaryFile(directory, prefix, kLogExtension, name) == platform::kSuccess) {
    platform::RemoveFile(name);
  }
  return name;
}

// Others must not redirect what this process creates, renames and deletes there.
bool IsTrusted(const WideString& directory) {
  using platform::OtherUsers;
  return platform::DataFolderDistrust(directory, OtherUsers::kMayAdd).reason.empty();
}

}  // namespace

constinit DiskLogger* CurrentDiskLogger = nullptr;

bool IsLoggingEnabled() { return GetRegistryString(kLoggingKey, kLoggingValue) == kLoggingOn; }

void EnableLogging() { SetRegistryString(kLoggingKey, kLoggingValue, kLoggingOn); }

WideString GetLogDirectory(const WideString& name) {
  WideString path;
  if (platform::CommonFolderPath(platform::CommonFolder::kData, path) != platform::kSuccess) {
    return {};
  }
  path += '\\';
  for (const WideView level : {kMakerFolder, kProductFolder, kLogsFolder}) {
    path.append(level) += '\\';
    if (!EnsureFolder(path)) return path;
  }
  return path + name;
}

DiskLogger* CreateDiskLogger(const WideString& prefix) {
  if (!IsLoggingEnabled()) return nullptr;
  const WideString directory = GetLogDirectory({});
  if (!IsTrusted(directory)) return nullptr;
  WideString name = DrawTemporaryName(directory, prefix);
  if (name.size() <= kLogExtension.size()) return nullptr;
  name.replace(name.size() - kLogExtension.size(), kLogExtension.size(), kLogExtension);
  auto logger = std::make_unique<DiskLogger>(name, kMaxLogSize, kMaxLogGenerations);
  LRLogListenerList::Instance().AddListener(logger.get());
  return logger.release();
}

void DestroyDiskLogger(DiskLogger* logger) {
  if (logger == nullptr) return;
  LRLogListenerList::Instance().RemoveListener(logger);
  delete logger;
}

WideString GetLarderLogPath() { return GetLarderDataPath() + kLogsFolder + LARDER_WIDE("\\"); }

std::vector<WideString> GetLogFiles(const WideString& pattern) {
  const WideString directory = GetLarderLogPath();
  std::vector<WideString> names;
  static_cast<void>(platform::FindNames(directory + pattern, names));
  for (WideString& name : names) {
    name.insert(0, directory);
    LogTrace(name);
  }
  return names;
}

std::vector<WideString> GetFeedFileLogFiles() { return GetLogFiles(LARDER_WIDE("feedf*.log")); }

WideString GetSamplesPath() {
  const WideString image = GetModuleName();
  return image.substr(0, image.rfind('\\') + 1) + LARDER_WIDE("samples\\");
}

}  // namespace larder
