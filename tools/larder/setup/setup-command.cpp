#include <memory>
#include <string>

#include "platform/registry.h"
#include "platform/scoped-handle.h"
#include "platform/wide.h"
#include "product/product.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/registry/registry-value.h"
#include "tools/larder/setup/data-tree.h"
#include "tools/larder/setup/setup-plan.h"

namespace larder::tool {
namespace {

constexpr const char* kMarkColumns = "DataProviders\teveryone";

// One line for what was changed or kept. columns: as "registry list" prints them; Printable is
// applied to each.
void Report(Output& output, const std::string& word, const std::string& columns) {
  output.Write(word + "\t" + Printable(columns, "\t") + "\n");
}

std::string ColumnsOf(const DefaultValue& value) {
  return platform::Utf8FromWide(value.subkey) + "\t" + platform::Utf8FromWide(value.name) + "\t";
}

bool DeleteKeys(const SetupPlan& plan, Output& output) {
  for (const WideString& subkey : plan.deletedKeys) {
    const platform::Code code = platform::RemoveRegistryTree(PathOfSubkey(subkey));
    if (!Succeeded("delete key " + KeyLabel(subkey), code)) return false;
    Report(output, "deleted", platform::Utf8FromWide(subkey));
  }
  return true;
}

bool SetValues(const SetupPlan& plan, Output& output) {
  for (const auto& [value, former, isSame] : plan.values) {
    const ValueName target{value.subkey, value.name};
    if (!isSame) {
      const platform::Code code = SetValue(target, TextValue(platform::kRegSz, value.data));
      if (!Succeeded("set " + ValueLabel(target), code)) return false;
      if (!former.empty()) Report(output, "was", ColumnsOf(value) + former);
    }
    Report(output, isSame ? "same" : "set",
           ColumnsOf(value) + "REG_SZ\t" + platform::Utf8FromWide(value.data));
  }
  return true;
}

bool SetMark(const PlannedMark& mark, Output& output) {
  if (mark.before == mark.after) {
    if (mark.after) Report(output, "same", kMarkColumns);
    return true;
  }
  platform::OwnedRegistryKey key;
  platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(kProvidersKey), platform::kKeyRead, key.Out());
  if (code == platform::kSuccess) code = platform::SetOpenToAll(key.Get(), mark.after);
  if (!Succeeded(mark.after ? "open key \"DataProviders\" to all users"
                            : "close key \"DataProviders\" to other users",
                 code)) {
    return false;
  }
  Report(output, mark.after ? "set" : "deleted", kMarkColumns);
  return true;
}

bool ChangesNothing(const SetupPlan& plan) {
  bool isAllSame = plan.deletedKeys.empty() && plan.mark.before == plan.mark.after;
  for (const PlannedValue& each : plan.values) isAllSame = isAllSame && each.isSame;
  return isAllSame;
}

int SetUp(const SetupOptions& options, Output& output) {
  const SetupPlan plan = MakeSetupPlan(options);
  for (const std::string& obstacle : plan.obstacles) PrintError("nothing was changed: " + obstacle);
  if (!plan.obstacles.empty()) return kExitFailed;
  // The configuration has been checked. From here on the machine is changed, first the folders: if
  // they can't be used, the registry stays as it is.
  bool hasChangedFolders = false;
  if (!SetUpDataTree(output, hasChangedFolders)) return kExitFailed;
  if (!DeleteKeys(plan, output) || !SetValues(plan, output) || !SetMark(plan.mark, output)) {
    return kExitFailed;
  }
  for (const std::string& columns : plan.kept) Report(output, "kept", columns);
  if (ChangesNothing(plan) && !hasChangedFolders) output.Write("nothing changed\n");
  return kExitOk;
}

struct Arguments {
  SetupOptions options;
  bool isForEveryone = false;
  bool isNotForEveryone = false;
};

Action ChosenAction(const Arguments& arguments) {
  SetupOptions options = arguments.options;
  if (arguments.isForEveryone && !platform::CanBeOpenToAll()) {
    throw UsageError("--everyone",
                     "not on this system: only a user who may change the key \"DataProviders\" "
                     "could open it, and would choose the modules that other users' programs load");
  }
  if (arguments.isForEveryone || arguments.isNotForEveryone) {
    options.isOpenToAll = arguments.isForEveryone;
  }
  return [options](Output& output) { return SetUp(options, output); };
}

}  // namespace

void AddSetupCommand(const Command& top) {
  const auto arguments = std::make_shared<Arguments>();
  const Command setup = top.AddCommand("setup", "Register the providers of this installation");
  setup.AddDetails(
      "Run it as root or as an administrator. The modules are those in the program's\n"
      "own folder or, if it is installed apart from them, in the installation's\n"
      "folder of modules. Other providers and their values stay. The folders of the\n"
      "logs and of the store are created.\n"
      "\n"
      "The output has a line for each folder and value; its first word says what\n"
      "happened to it. Everything is checked first, and if a check fails, nothing is\n"
      "changed.");
  setup.AddFlag("--log", arguments->options.withLog, "Switch the log on as well");
  setup.AddFlag("--only", arguments->options.isOnly, "Delete all other providers");
  setup.AddFlag("--test-provider", arguments->options.withTestProvider,
                "Register feed-test.dll, too");
  setup.AddFlag("--everyone", arguments->isForEveryone,
                "Let the programs of all users load the providers (Linux)");
  setup.AddFlag("--no-everyone", arguments->isNotForEveryone, "The reverse of --everyone");
  setup.Exclude("--everyone", "--no-everyone");
  setup.OnChosen([arguments] { return ChosenAction(*arguments); });
}

}  // namespace larder::tool
