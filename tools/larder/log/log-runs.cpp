#include "tools/larder/log/log-runs.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "log-file/log-files.h"
#include "platform/folder.h"
#include "product/product.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/path.h"

namespace larder::tool {
namespace {

constexpr LarderWideChar kPattern[] = LARDER_WIDE("*.log*");
constexpr WideView kExtension = LARDER_WIDE(".log");

// The path of the run that a file belongs to; empty for a file that isn't a log.
WideString RunOf(const WideString& path, std::uint32_t& generation) {
  generation = 0;
  if (path.ends_with(kExtension)) return path;
  for (generation = 1; generation <= kMaxLogGenerations; ++generation) {
    const WideString suffix = GenerationPath(WideString(kExtension), generation);
    if (path.ends_with(suffix))
      return path.substr(0, path.size() - suffix.size()).append(kExtension);
  }
  return {};
}

// Returns false for what isn't a file, or is gone since it was listed because the host renamed it.
bool ReadFileInfo(const WideString& path, platform::FileInfo& info, bool& succeeded) {
  platform::FileKind kind{};
  const platform::Code code = platform::QueryPathInfo(path, info, kind);
  if (code == platform::kSuccess) return kind == platform::FileKind::kRegular;
  if (code != platform::kFileNotFound) succeeded = Succeeded("read " + PathText(path), code);
  return false;
}

// The library's routine returns the names that can be read, but no reason why others can't.
bool CanListLogs(const WideString& directory) {
  std::vector<WideString> names;
  const platform::Code code = platform::FindNames(directory + kPattern, names);
  if (code == platform::kFileNotFound || code == platform::kPathNotFound) return true;
  return Succeeded("list " + PathText(directory), code);
}

// By run and generation.
using LogFiles = std::map<WideString, std::map<std::uint32_t, LogFile>>;

LogFiles ReadLogFiles(const std::vector<WideString>& paths, bool& succeeded) {
  LogFiles files;
  for (const WideString& path : paths) {
    std::uint32_t generation = 0;
    const WideString run = RunOf(path, generation);
    LogFile file{path, {}};
    if (run.empty() || !ReadFileInfo(path, file.info, succeeded)) continue;
    files[run].emplace(generation, file);
  }
  return files;
}

}  // namespace

WideString GenerationPath(const WideString& run, std::uint32_t generation) {
  if (generation == 0) return run;
  const std::string number = "." + std::to_string(generation);
  return run + WideString(number.begin(), number.end());
}

bool FindLogsPath(WideString& path) {
  WideString data;
  const platform::Code code = platform::CommonFolderPath(platform::CommonFolder::kData, data);
  if (!Succeeded("find the machine's data folder", code)) return false;
  path = GetLarderLogPath();
  return true;
}

bool FindLogRuns(std::vector<LogRun>& runs) {
  WideString directory;
  if (!FindLogsPath(directory)) return false;
  const std::vector<WideString> paths = GetLogFiles(kPattern);
  bool succeeded = CanListLogs(directory);
  for (const auto& [path, files] : ReadLogFiles(paths, succeeded)) {
    LogRun run{path, {}, 0};
    for (const auto& [generation, file] : files) {
      run.files.push_back(file);
      run.lastModified = std::max(run.lastModified, file.info.lastModified);
    }
    runs.push_back(run);
  }
  std::sort(runs.begin(), runs.end(), [](const LogRun& left, const LogRun& right) {
    return std::tie(left.lastModified, left.path) < std::tie(right.lastModified, right.path);
  });
  return succeeded;
}

}  // namespace larder::tool
