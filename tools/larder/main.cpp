// larder: the command-line tool. See docs/tool.md.
#include <exception>
#include <string>
#include <vector>

#include "tools/larder/cli/command.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/console.h"
#include "tools/larder/cli/module-search.h"
#include "tools/larder/cli/output.h"

namespace larder::tool {
namespace {

int RunCommand(const std::vector<std::string>& arguments, Output& output) {
  CommandLine line("larder",
                   "Reads and changes the set-up of Larder, and queries files through it.",
                   "larder " LARDER_TOOL_VERSION);
  for (const auto add : {&AddSetupCommand, &AddStatusCommand, &AddQueryCommand, &AddScanCommand,
                         &AddFindCommand, &AddLogCommand, &AddNotifyCommand, &AddRegistryCommand,
                         &AddRemoveCommand, &AddCheckCommand, &AddNewCommand, &AddProbeCommand})
    add(line.Top());
  if (arguments.empty()) {
    (void)WriteText(Stream::kErrors, line.Help());
    return kExitUsage;
  }
  return line.Parse(arguments)(output);
}

int Main(const std::vector<std::string>& arguments) {
  try {
    Output output;
    const int status = RunCommand(arguments, output);
    return output.Finish() ? status : kExitFailed;
  } catch (const UsageError& error) {
    PrintError(error.what());
    PrintError("--help lists what can be given");
    return kExitUsage;
  } catch (const std::exception& error) {
    PrintError(error.what());
    return kExitFailed;
  }
}

}  // namespace
}  // namespace larder::tool

int main(int argc, char** argv) {
  larder::tool::LeaveCurrentFolderOutOfSearch();
  larder::tool::PrepareConsole();
  std::vector<std::string> arguments = larder::tool::ProgramArguments(argc, argv);
  if (!arguments.empty()) arguments.erase(arguments.begin());
  return larder::tool::Main(arguments);
}
