#include <memory>
#include <string>
#include <vector>

#include "log-file/log-files.h"
#include "platform/wide.h"
#include "product/product.h"
#include "support/installed-state.h"
#include "support/registry.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/registry/registry-value.h"

namespace larder::tool {
namespace {

std::vector<DefaultValue> ExpectedValues(bool withLog) {
  std::vector<DefaultValue> values = DefaultProviderValues();
  if (withLog) {
    values.push_back({kLoggingKey, kLoggingValue, kLoggingOn});
  }
  return values;
}

// In the form of "registry list".
std::string LineOf(const DefaultValue& value) {
  return platform::Utf8FromWide(value.subkey) + "\t" + platform::Utf8FromWide(value.name) +
         "\tREG_SZ\t" + Printable(platform::Utf8FromWide(value.data)) + "\n";
}

// Reads the value as the library does, and prints an error if the result is another text.
bool IsAsWritten(const DefaultValue& value) {
  const WideString found = GetRegistryString(value.subkey, value.name);
  if (found == value.data && !found.empty()) return true;
  const std::string what = ValueLabel({value.subkey, value.name});
  if (value.data.size() > kMaxRegistryCharacters) {
    PrintError(what + " can't be used: it has " + std::to_string(value.data.size()) +
               " characters, and the library reads " + std::to_string(kMaxRegistryCharacters) +
               " at most: " + platform::Utf8FromWide(value.data));
  } else {
    PrintError("cannot set " + what + " to \"" + platform::Utf8FromWide(value.data) +
               "\": it reads \"" + platform::Utf8FromWide(found) + "\"");
  }
  return false;
}

int SetUp(bool withLog, Output& output) {
  if (IsInstalledInCommonFiles()) {
    const WideString location = GetRegistryString(kInstallKey, kLocationValue);
    PrintError("nothing was written: szLocation names the place of a real installation, " +
               platform::Utf8FromWide(location));
    return kExitFailed;
  }
  LogWatch watch;
  RegisterDefaultProviders();
  if (withLog) EnableLogging();
  int status = kExitOk;
  for (const DefaultValue& value : ExpectedValues(withLog)) {
    if (IsAsWritten(value)) {
      output.Write(LineOf(value));
    } else {
      status = kExitFailed;
    }
  }
  // Even a successful run logs failures, if there was no earlier set-up to delete.
  if (status != kExitOk) watch.PrintReports();
  return status;
}

}  // namespace

void AddSetupCommand(const Command& top) {
  const auto withLog = std::make_shared<bool>(false);
  const Command setup = top.AddCommand(
      "setup", "Register the providers that are beside this program, in place of all others");
  setup.AddFlag("--log", *withLog, "Switch the log on as well");
  setup.OnChosen(
      [withLog] { return [withLog](Output& output) { return SetUp(*withLog, output); }; });
}

}  // namespace larder::tool
