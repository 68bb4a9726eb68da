#include "setup-command.h"

#include <memory>
#include <string>
#include <vector>

#include "diag/log-files.h"
#include "diag/log-pieces.h"
#include "errors.h"
#include "log-watch.h"
#include "platform/utf.h"
#include "registry-edit.h"
#include "support/installed-state.h"
#include "support/paths.h"
#include "support/registry.h"
#include "text.h"

namespace larder::tool {
namespace {

constexpr std::size_t kMostCharacters = 98;  // of a text that the library reads

struct ExpectedValue {
  ValueName target;
  WideString data;
};

std::vector<ExpectedValue> ExpectedValues(bool withLog) {
  std::vector<ExpectedValue> values = {
      {{LARDER_WIDE("Install"), LARDER_WIDE("szLocation")}, GetPath(GetModuleName())},
      {{LARDER_WIDE("DataProviders\\FeedTest"), LARDER_WIDE("szDLL")},
       LARDER_WIDE("feed-test.dll")},
      {{LARDER_WIDE("DataProviders\\FeedFile"), LARDER_WIDE("szDLL")},
       LARDER_WIDE("feed-file.dll")},
      {{LARDER_WIDE("DataProviders\\FeedFile"), LARDER_WIDE("szFileQuery")},
       LARDER_WIDE("stock-file-query.dll")},
      {{LARDER_WIDE("DataProviders\\FeedStats"), LARDER_WIDE("szDLL")},
       LARDER_WIDE("feed-stats.dll")}};
  if (withLog) {
    values.push_back({{LARDER_WIDE("Logging"), LARDER_WIDE("szEnable")}, LARDER_WIDE("true")});
  }
  return values;
}

// As "registry list" prints it.
std::string LineOf(const ExpectedValue& value) {
  return platform::Utf8FromWide(value.target.subkey) + "\t" +
         platform::Utf8FromWide(value.target.name) + "\tREG_SZ\t" +
         Printable(platform::Utf8FromWide(value.data)) + "\n";
}

// Reads the value as the library will; tells when that gives something else.
bool IsAsWritten(const ExpectedValue& value) {
  const WideString found = GetRegistryString(value.target.subkey, value.target.name);
  if (found == value.data && !found.empty()) return true;
  const std::string what = ValueLabel(value.target);
  if (value.data.size() > kMostCharacters) {
    PrintError(what + " is of no use: it has " + std::to_string(value.data.size()) +
               " characters, and the library reads " + std::to_string(kMostCharacters) +
               " at most: " + platform::Utf8FromWide(value.data));
  } else {
    PrintError("cannot set " + what + " to \"" + platform::Utf8FromWide(value.data) +
               "\": it reads \"" + platform::Utf8FromWide(found) + "\"");
  }
  return false;
}

int SetUp(bool withLog, Output& output) {
  if (IsInstalledInCommonFiles()) {
    const WideString location =
        GetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"));
    PrintError("nothing was written: szLocation names the place of a real installation, " +
               platform::Utf8FromWide(location));
    return kExitFailed;
  }
  LogWatch watch;
  RegisterDefaultProviders();
  if (withLog) EnableLogging();
  int status = kExitOk;
  for (const ExpectedValue& value : ExpectedValues(withLog)) {
    if (IsAsWritten(value)) {
      output.Write(LineOf(value));
    } else {
      status = kExitFailed;
    }
  }
  // A run that went well has its reports too: about a former set-up that wasn't there.
  if (status != kExitOk) watch.PrintReports();
  return status;
}

}  // namespace

void AddSetupCommand(CLI::App& app, Action& action) {
  const auto withLog = std::make_shared<bool>(false);
  CLI::App* setup = app.add_subcommand(
      "setup", "Register the providers that lie beside this program, in place of all others");
  setup->add_flag("--log", *withLog, "Switch the log on as well");
  setup->callback([withLog, &action] {
    action = [log = *withLog](Output& output) { return SetUp(log, output); };
  });
}

}  // namespace larder::tool
