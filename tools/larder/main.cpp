// larder: the command-line tool. See docs/tool.md.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "arguments.h"
#include "command.h"
#include "errors.h"
#include "log-command.h"
#include "notify-command.h"
#include "platform/console.h"
#include "provider-probe.h"
#include "query-command.h"
#include "registry-command.h"
#include "remove-command.h"
#include "scan-command.h"
#include "setup-command.h"
#include "status-command.h"

namespace larder::tool {
namespace {

// The parser reads its arguments from the back.
void ParseArguments(CLI::App& app, const std::vector<std::string>& arguments) {
  std::vector<std::string> shielded = ShieldArguments(arguments);
  std::reverse(shielded.begin(), shielded.end());
  app.parse(std::move(shielded));
}

int PrintUsageError(const std::string& message) {
  PrintError(UnshieldMessage(message));
  PrintError("--help lists what can be given");
  return kExitUsage;
}

int RunCommand(const std::vector<std::string>& arguments, Output& output) {
  CLI::App app("Reads and changes the set-up of Larder, and queries files through it.", "larder");
  app.allow_windows_style_options(false);  // "/dir/file" is a path on every system
  app.set_version_flag("--version", "larder " LARDER_TOOL_VERSION);
  app.require_subcommand(0, 1);  // none at all is told below: an unknown one shall be named
  Action action;
  AddSetupCommand(app, action);
  AddStatusCommand(app, action);
  AddQueryCommand(app, action);
  AddScanCommand(app, action);
  AddLogCommand(app, action);
  AddNotifyCommand(app, action);
  AddRegistryCommand(app, action);
  AddRemoveCommand(app, action);
  AddProbeCommand(app, action);
  if (arguments.empty()) {
    std::fputs(app.help().c_str(), stderr);
    return kExitUsage;
  }
  try {
    ParseArguments(app, arguments);
  } catch (const CLI::CallForVersion& version) {
    output.Write(std::string(version.what()) + "\n");
    return kExitOk;
  } catch (const CLI::Success&) {
    output.Write(app.help());
    return kExitOk;
  } catch (const CLI::ParseError& error) {
    return PrintUsageError(error.what());
  }
  return action ? action(output) : PrintUsageError("A command is missing");
}

int Main(const std::vector<std::string>& arguments) {
  try {
    Output output;
    const int status = RunCommand(arguments, output);
    return output.Finish() ? status : kExitFailed;
  } catch (const std::exception& error) {
    PrintError(error.what());
    return kExitFailed;
  }
}

}  // namespace
}  // namespace larder::tool

int main(int argc, char** argv) {
#ifdef SIGPIPE
  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is a failed write like any other
#endif
  larder::platform::PrepareConsole();
  std::vector<std::string> arguments = larder::platform::ProgramArguments(argc, argv);
  if (!arguments.empty()) arguments.erase(arguments.begin());
  return larder::tool::Main(arguments);
}
