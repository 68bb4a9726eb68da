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

struct ToolRun {
  int status;
  std::string output;
  std::string errors;
};

class ToolTest : public testing::Test {
 protected:
  ToolRun Run(const std::vector<std::string>& arguments);
  // The same with something to read on standard input, or with a copy of the tool.
  ToolRun RunAnswering(const std::string& input, const std::vector<std::string>& arguments);
  ToolRun RunCopy(const std::filesystem::path& tool, const std::vector<std::string>& arguments);
  // Run, and a test failure unless it succeeds without a word on standard error. Gives the
  // output.
  std::string MustRun(const std::vector<std::string>& arguments);

  // Starts the tool; its standard error goes to ErrorsOfStarted.
  std::unique_ptr<RunningProgram> Start(const std::vector<std::string>& arguments);
  std::string ErrorsOfStarted() const;

  // Copies provider modules, with what they load, into the machine and registers them.
  void RegisterModules(const std::vector<std::string>& names);

  // A folder in the machine's, with the tool and all that it and the modules need; gives the tool.
  std::filesystem::path CopyTool(const std::string& folder);

  std::filesystem::path MakeFile(const std::string& utf8Name, const std::string& content);

  // A path as the registry has it, with a backslash at its end.
  static std::string RegistryTextOf(const std::filesystem::path& folder);
  // Beside this program, where everything that is built lies.
  static std::filesystem::path BuiltFile(const std::string& name);
  static std::filesystem::path ToolPath();
  static std::filesystem::path PathOf(const std::string& utf8);
  static std::string Utf8Of(const std::filesystem::path& path);
  static std::vector<std::string> LinesOf(const std::string& text);
  static std::string ContentOf(const std::filesystem::path& path);

  ToolMachine machine;

 private:
  void CopyModule(const std::string& name);
};

}  // namespace larder
