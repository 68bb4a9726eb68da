#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "log-file/log-files.h"
#include "product/product.h"
#include "support/paths.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/interrupt.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/log/log-reader.h"
#include "tools/larder/log/log-runs.h"
#include "tools/larder/registry/registry-value.h"

namespace larder::tool {
namespace {

constexpr std::chrono::milliseconds kPollPause(20);  // short, because a run keeps few bytes

ValueName Switch() { return {kLoggingKey, kLoggingValue}; }

int SwitchOn() {
  EnableLogging();
  if (IsLoggingEnabled()) return kExitOk;
  // The library doesn't return the reason. Setting the value again does.
  const platform::Code code = SetValue(Switch(), TextValue(platform::kRegSz, kLoggingOn));
  if (!Succeeded("set " + ValueLabel(Switch()), code)) return kExitFailed;
  if (IsLoggingEnabled()) return kExitOk;
  PrintError("cannot read " + ValueLabel(Switch()) + " back");
  return kExitFailed;
}

int SwitchOff() {
  const platform::Code code = DeleteValue(Switch());
  if (code == platform::kFileNotFound) return kExitOk;
  return Succeeded("delete " + ValueLabel(Switch()), code) ? kExitOk : kExitFailed;
}

int PrintPath(Output& output) {
  WideString path;
  if (!FindLogsPath(path)) return kExitFailed;
  output.Write(PathText(path) + "\n");
  return kExitOk;
}

int List(Output& output) {
  std::vector<LogRun> runs;
  const bool succeeded = FindLogRuns(runs);
  for (const LogRun& run : runs) {
    for (const LogFile& file : run.files) {
      output.Write(Printable(PathText(GetFileNameInPath(file.path))) + "\t" +
                   std::to_string(file.info.size) + "\t" + TimeText(file.info.lastModified) + "\n");
    }
  }
  return succeeded ? kExitOk : kExitFailed;
}

// The file provider's logs are in the same directory, but only the library's are runs of a host.
bool FindNewestRun(WideString& path) {
  std::vector<LogRun> runs;
  if (!FindLogRuns(runs)) return false;
  for (const LogRun& run : runs) {
    if (GetFileNameInPath(run.path).starts_with(kLogPrefix)) path = run.path;
  }
  if (!path.empty()) return true;
  PrintError("there is no log in " + PathText(GetLarderLogPath()));
  return false;
}

// A name without a separator is a file in the logs directory.
bool FindRun(const std::string& argument, WideString& path) {
  if (argument.find_first_of("/\\") != std::string::npos) {
    return Succeeded("read " + argument, FullPath(argument, path));
  }
  if (!FindLogsPath(path)) return false;
  path += WideArgument("RUN", argument);
  return true;
}

int Show(const WideString& run, bool isFollowing, Output& output) {
  LogReader reader(run, output);
  if (!reader.PrintAll()) return kExitFailed;
  if (isFollowing) {
    const Interrupt interrupt;
    output.Flush();
    while (!Interrupt::HasCome() && !output.Failed()) {
      if (!reader.PrintNews()) std::this_thread::sleep_for(kPollPause);
    }
  }
  return reader.Finish() ? kExitOk : kExitFailed;
}

void AddSimple(const Command& log, const char* name, const char* help, const Action& work) {
  log.AddCommand(name, help).OnChosen([work] { return work; });
}

struct ShowArguments {
  std::optional<std::string> run;
  bool isFollowing = false;
};

void AddShow(const Command& log) {
  const auto arguments = std::make_shared<ShowArguments>();
  const Command show = log.AddCommand("show", "Print the lines of a run, the oldest first");
  show.AddOptional("RUN", arguments->run,
                   "Name of the run's file as \"list\" prints it, or a path; none: the newest run");
  show.AddFlag("--follow", arguments->isFollowing, "Print on as lines come, until interrupted");
  show.OnChosen([arguments] {
    WideArgument("RUN", arguments->run.value_or(""));
    return [arguments](Output& output) {
      WideString path;
      const bool isFound = arguments->run ? FindRun(*arguments->run, path) : FindNewestRun(path);
      return isFound ? Show(path, arguments->isFollowing, output) : kExitFailed;
    };
  });
}

}  // namespace

void AddLogCommand(const Command& top) {
  const Command log = top.AddCommand("log", "Switch the log on disk on and off, and read it");
  AddSimple(log, "on", "Let programs that start from now on write a log",
            [](Output&) { return SwitchOn(); });
  AddSimple(log, "off", "Let programs that start from now on write none",
            [](Output&) { return SwitchOff(); });
  AddSimple(log, "path", "Print the folder of the logs", &PrintPath);
  AddSimple(log, "list", "Print the files of all runs, the newest run last", &List);
  AddShow(log);
}

}  // namespace larder::tool
