#include "tools/larder/cli/client.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "log-file/log-files.h"
#include "platform/wide.h"
#include "product/product.h"
#include "support/paths.h"
#include "tools/larder/cli/output.h"

namespace larder::tool {
namespace {

constexpr int kMaxPolls = 100;
constexpr std::chrono::milliseconds kPollPause(20);

std::vector<WideString> FindLogs() {
  return GetLogFiles(kLogPrefix + WideString(LARDER_WIDE("*.log")));
}

bool IsWhole(const WideString& log) {
  return CountLinesContaining(log, "Leaving LarderInit()") != 0;
}

// After a failed LarderInit the library still writes its log, but loses what isn't on disk when the
// process ends. No export waits for that, so this polls the log file: one that is new and complete.
void WaitForLog(const std::vector<WideString>& before) {
  for (int poll = 0; poll < kMaxPolls; ++poll) {
    std::vector<WideString> logs = FindLogs();
    std::erase_if(logs, [&](const WideString& log) {
      return std::find(before.begin(), before.end(), log) != before.end();
    });
    if (std::any_of(logs.begin(), logs.end(), &IsWhole)) return;
    std::this_thread::sleep_for(kPollPause);
  }
}

void PrintHints(bool hasLog) {
  PrintError("run \"larder status\" to see which module or key is at fault, and why");
  PrintError(
      hasLog
          ? "run \"larder log show\" for details"
          : "run \"larder log on\", repeat the command, and run \"larder log show\" for details");
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

std::string ResultReason(int result) {
  const std::uint32_t size = LarderErrorToString(result, 0, nullptr);
  WideString text(size, LARDER_WIDE('\0'));
  LarderErrorToString(result, size, text.data());
  text.pop_back();
  const std::string number = std::to_string(result);
  return text.empty() ? "code " + number : platform::Utf8FromWide(text) + " (" + number + ")";
}

}  // namespace larder::tool
