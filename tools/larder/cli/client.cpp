#include "tools/larder/cli/client.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "log-file/log-files.h"
#include "support/paths.h"
#include "tools/larder/cli/errors.h"

namespace larder::tool {
namespace {

constexpr int kMostLooks = 100;
constexpr std::chrono::milliseconds kPauseBetweenLooks(20);

std::vector<WideString> FindLogs() { return GetLogFiles(LARDER_WIDE("lr_*.log")); }

bool IsWhole(const WideString& log) {
  return CountLinesContaining(log, "Leaving LarderInit()") != 0;
}

// The logger of a failed LarderInit writes on until the process ends, and takes with it what it
// hasn't written by then. Nobody can ask it, so its file is looked at: one that wasn't there
// before.
void WaitForLog(const std::vector<WideString>& before) {
  for (int look = 0; look < kMostLooks; ++look) {
    std::vector<WideString> logs = FindLogs();
    std::erase_if(logs, [&](const WideString& log) {
      return std::find(before.begin(), before.end(), log) != before.end();
    });
    if (std::any_of(logs.begin(), logs.end(), &IsWhole)) return;
    std::this_thread::sleep_for(kPauseBetweenLooks);
  }
}

void PrintHints(bool hasLog) {
  PrintError(
      "the provider modules must be there and loadable: \"larder registry list\" shows their "
      "folder (Install, szLocation) and names (below DataProviders, szDLL)");
  PrintError(hasLog
                 ? "\"larder log show\" tells more"
                 : "\"larder log on\" and the same once more: then \"larder log show\" tells more");
}

}  // namespace

bool StartLibrary(LarderNotifyCallback callback, LarderHandle& handle) {
  const bool hasLog = IsLoggingEnabled();
  const std::vector<WideString> logs = hasLog ? FindLogs() : std::vector<WideString>();
  const int result = LarderInit(callback, &handle);
  if (result == LARDER_OK || result == LARDER_E_ALREADY_INITIALIZED) return true;
  PrintError("cannot start the library: " + ResultReason(result));
  if (hasLog) WaitForLog(logs);
  PrintHints(hasLog);
  return false;
}

bool EndLibrary() {
  const int result = LarderRelease();
  if (result == LARDER_OK) return true;
  PrintError("cannot end the library: " + ResultReason(result));
  return false;
}

}  // namespace larder::tool
