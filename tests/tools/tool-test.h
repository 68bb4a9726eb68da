// The fixture of the tests that drive the built tool.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tools/run-program.h"
#include "tools/tool-machine.h"

namespace larder {

using Words = std::vector<std::string>;

struct ToolRun {
  int status;
  std::string output;
  std::string errors;
};

std::string ContentOf(const std::filesystem::path& path);

class ToolTest : public testing::Test {
 protected:
  // input: what the tool finds on standard input.
  ToolRun Run(const Words& arguments, const std::string& input = {});
  // Run, and a test failure unless it ends with that status.
  ToolRun Run(const Words& arguments, int status);
  // Run, and a test failure unless it succeeds without a word on standard error. Gives the output.
  std::string MustRun(const Words& arguments);
  Words MustList(const Words& arguments) { return LinesOf(MustRun(arguments)); }
  // Run, and a test failure unless it ends with that status and no output. Gives standard error.
  std::string MustFail(const Words& arguments, int status = 1);

  // Starts the tool; its standard error goes to ErrorsOfStarted.
  std::unique_ptr<RunningProgram> Start(const Words& arguments, bool hasReader = true);
  std::string ErrorsOfStarted() const { return ContentOf(machine.Folder() / "started"); }

  // Copies provider modules, with what they load, into the machine and registers them.
  void RegisterModules(const Words& names);

  // A folder in the machine's, with the tool and all that it and the modules need: from now on the
  // tool there is the one that is run.
  void CopyTool(const std::string& name);

  // In the machine's folder; makes the folders on the way.
  std::filesystem::path MakeFile(const std::string& utf8Name, const std::string& content);
  std::string InFolder(const std::string& utf8Name) const;
  // The folder of the machine's logs, without a separator at its end.
  std::filesystem::path LogsPath();

  // A path as the registry has it, with a backslash at its end.
  static std::string RegistryTextOf(const std::filesystem::path& folder);
  // Beside this program, where everything that is built lies.
  static std::filesystem::path BuiltFile(const std::string& name);
  static std::filesystem::path PathOf(const std::string& utf8);
  static std::string Utf8Of(const std::filesystem::path& path);
  static Words LinesOf(const std::string& text);

  ToolMachine machine;
  std::filesystem::path tool = BuiltFile(LARDER_TOOL_FILE);
};

}  // namespace larder
