// The fixture of the tests that run the built tool.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "testing/files.h"
#include "tools/run-program.h"
#include "tools/tool-machine.h"

namespace larder {

using Words = std::vector<std::string>;

struct ToolRun {
  int status = 0;
  std::string output;
  std::string errors;
};

// The current folder is the machine's, for the tool too.
class ToolTest : public testing::Test {
 protected:
  ToolTest() { std::filesystem::current_path(machine.Folder()); }
  ~ToolTest() override { std::filesystem::current_path(before); }

  // Runs a program to its end. input: what it reads from standard input.
  static ToolRun Run(const std::filesystem::path& program, const Words& arguments,
                     const std::string& input = "");
  // Runs the tool, which must succeed without an error line. Returns its output.
  std::string MustRun(const Words& arguments);

  // Starts the tool; its standard error goes to a file.
  std::unique_ptr<RunningProgram> Start(const Words& arguments, bool hasReader = true);
  static std::string ErrorsOfStarted() { return ContentOf("errors-of-started"); }

  // Registers provider modules in the machine's folder. A module that doesn't exist there is copied
  // from the build's output, with the modules that it loads.
  void InstallModules(const Words& names);

  // Copies the tool and all modules to this folder. The copy runs from now on.
  void CopyTool(const std::string& folder);

  // Creates missing folders too. The name is UTF-8.
  static void MakeFile(const std::string& name, const std::string& content);

  // A log with this content, last changed in the middle of that year.
  void MakeLog(const std::string& name, const std::string& content, int year = 2100) const;

  // A file in the build's output folder, where this program is too.
  static std::filesystem::path BuiltFile(const std::string& name);

  // The machine's folder as the registry has it, with a backslash at its end.
  std::string Location() const;

 private:
  const std::filesystem::path before = std::filesystem::current_path();

 protected:
  ToolMachine machine;
  std::filesystem::path tool = BuiltFile(LARDER_TOOL_FILE);
};

}  // namespace larder
