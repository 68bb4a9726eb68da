#include "diag/log-files.h"

#include "diag/log-statement.h"
#include "platform/folder.h"
#include "platform/log-file.h"
#include "support/paths.h"
#include "support/registry.h"

namespace larder {

namespace {

constexpr LarderWideChar kSwitchKey[] = LARDER_WIDE("Logging");
constexpr LarderWideChar kSwitchValue[] = LARDER_WIDE("szEnable");
constexpr LarderWideChar kSwitchOn[] = LARDER_WIDE("true");
constexpr WideView kLogs = LARDER_WIDE("logs\\");
constexpr WideView kLogExtension = LARDER_WIDE("log");
constexpr std::uint32_t kMaxFileSize = 102400;
constexpr std::uint32_t kMaxBackups = 5;

// A name that is free in the directory now, by making a file of that name and taking it away again.
WideString DrawTemporaryName(const WideString& directory, const WideString& prefix) {
  WideString name;
  if (platform::MakeTemporaryFile(directory, prefix, name) == platform::kSuccess) {
    platform::RemoveFile(name);
  }
  return name;
}

}  // namespace

constinit DiskLogger* CurrentDiskLogger = nullptr;

bool IsLoggingEnabled() { return GetRegistryString(kSwitchKey, kSwitchValue) == kSwitchOn; }

void EnableLogging() { SetRegistryString(kSwitchKey, kSwitchValue, kSwitchOn); }

WideString GetLogDirectory(const WideString& name) {
  WideString path;
  if (platform::CommonFolderPath(platform::CommonFolder::kData, path) != platform::kSuccess) {
    return {};
  }
  for (const WideView level :
       {WideView(LARDER_WIDE("\\Velmor\\")), WideView(LARDER_WIDE("Larder\\")), kLogs}) {
    path.append(level);
    if (!EnsureFolder(path)) return path;
  }
  return path + name;
}

DiskLogger* CreateDiskLogger(const WideString& prefix) {
  if (!IsLoggingEnabled()) return nullptr;
  WideString name = DrawTemporaryName(GetLogDirectory({}), prefix);
  if (name.size() <= kLogExtension.size()) return nullptr;
  name.replace(name.size() - kLogExtension.size(), kLogExtension.size(), kLogExtension);
  auto logger = std::make_unique<DiskLogger>(name, kMaxFileSize, kMaxBackups);
  LRLogListenerList::Instance().AddListener(logger.get());
  return logger.release();
}

void DestroyDiskLogger(DiskLogger* logger) {
  if (logger == nullptr) return;
  LRLogListenerList::Instance().RemoveListener(logger);
  delete logger;
}

WideString GetLarderLogPath() { return GetLarderDataPath().append(kLogs); }

std::vector<WideString> GetLogFiles(const WideString& pattern) {
  const WideString directory = GetLarderLogPath();
  std::vector<WideString> names;
  if (platform::FindNames(directory + pattern, names) != platform::kSuccess) return {};
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
