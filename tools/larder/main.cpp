// larder: the command-line tool. See docs/tool.md.
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/larder/cli/command.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/console.h"
#include "tools/larder/cli/module-search.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/status/machine-root.h"

namespace larder::tool {
namespace {

void RequireMachineRoot() {
  if (const std::string fault = MachineRootFault(); !fault.empty()) throw std::runtime_error(fault);
}

// "status" prints the machine root's fault among others, and the last ones use no machine.
void AddCommands(const Command& top) {
  const Command onMachine = top.Requiring(&RequireMachineRoot);
  AddSetupCommand(onMachine);
  AddStatusCommand(top);
  for (const auto add :
       {&AddQueryCommand, &AddScanCommand, &AddFindCommand, &AddLogCommand, &AddTraceCommand,
        &AddNotifyCommand, &AddRegistryCommand, &AddRemoveCommand})
    add(onMachine);
  for (const auto add :
       {&AddCheckCommand, &AddNewCommand, &AddProbeCommand, &AddCompleteCommand, &AddManualCommand})
    add(top);
}

int RunCommand(const std::vector<std::string>& arguments, Output& output) {
  CommandLine line("larder",
                   "Reads and changes the set-up of Larder, and queries files through it.",
                   "larder " LARDER_TOOL_VERSION);
  AddCommands(line.Top());
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
