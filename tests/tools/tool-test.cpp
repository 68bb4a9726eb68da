#include "tools/tool-test.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "platform/console.h"
#include "platform/module.h"
#include "platform/utf.h"
#include "tools/run-program.h"

namespace larder {

ToolRun ToolTest::Run(const std::vector<std::string>& arguments) {
  return RunCopy(ToolPath(), arguments);
}

ToolRun ToolTest::RunCopy(const std::filesystem::path& tool,
                          const std::vector<std::string>& arguments) {
  const auto output = machine.Folder() / "standard-output";
  const auto errors = machine.Folder() / "standard-error";
  const int status = RunProgram(tool, arguments, output, errors);
  return {status, ContentOf(output), ContentOf(errors)};
}

ToolRun ToolTest::RunAnswering(const std::string& input,
                               const std::vector<std::string>& arguments) {
  const auto output = machine.Folder() / "standard-output";
  const auto errors = machine.Folder() / "standard-error";
  const auto answers = MakeFile("standard-input", input);
  const int status = RunProgram(ToolPath(), arguments, output, errors, answers);
  return {status, ContentOf(output), ContentOf(errors)};
}

std::string ToolTest::MustRun(const std::vector<std::string>& arguments) {
  const ToolRun run = Run(arguments);
  EXPECT_EQ(run.status, 0) << testing::PrintToString(arguments);
  EXPECT_EQ(run.errors, "") << testing::PrintToString(arguments);
  return run.output;
}

std::unique_ptr<RunningProgram> ToolTest::Start(const std::vector<std::string>& arguments) {
  return std::make_unique<RunningProgram>(ToolPath(), arguments, machine.Folder() / "started");
}

std::string ToolTest::ErrorsOfStarted() const { return ContentOf(machine.Folder() / "started"); }

void ToolTest::RegisterModules(const std::vector<std::string>& names) {
  MustRun({"registry", "set", "Install", "szLocation", RegistryTextOf(machine.Folder())});
  for (const std::string& name : names) {
    CopyModule(name);
    if (name == "feed-file.dll") CopyModule("stock-file-query.dll");
    MustRun({"registry", "set", "DataProviders\\" + name, "szDLL", name});
  }
}

void ToolTest::CopyModule(const std::string& name) {
  std::filesystem::copy_file(BuiltFile(name), machine.Folder() / name);
}

std::filesystem::path ToolTest::CopyTool(const std::string& folder) {
  const std::filesystem::path copy = machine.Folder() / folder;
  std::filesystem::create_directories(copy);
  std::filesystem::copy_file(ToolPath(), copy / LARDER_TOOL_FILE);
  for (const auto& entry : std::filesystem::directory_iterator(ToolPath().parent_path())) {
    const std::string extension = entry.path().extension().string();
    if (extension != ".dll" && extension != ".so") continue;
    std::filesystem::copy_file(entry.path(), copy / entry.path().filename());
  }
  return copy / LARDER_TOOL_FILE;
}

std::filesystem::path ToolTest::MakeFile(const std::string& utf8Name, const std::string& content) {
  const std::filesystem::path path = machine.Folder() / PathOf(utf8Name);
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

std::string ToolTest::RegistryTextOf(const std::filesystem::path& folder) {
  WideString wide;
  EXPECT_EQ(platform::FullPath(Utf8Of(folder), wide), platform::kSuccess);
  return platform::Utf8FromWide(wide) + "\\";
}

std::filesystem::path ToolTest::BuiltFile(const std::string& name) {
  WideString image;
  EXPECT_EQ(platform::HostImagePath(image), platform::kSuccess);
  std::string text = platform::Utf8FromWide(image);
  std::replace(text.begin(), text.end(), '\\', '/');
  return PathOf(text).parent_path() / name;
}

std::filesystem::path ToolTest::ToolPath() { return BuiltFile(LARDER_TOOL_FILE); }

std::filesystem::path ToolTest::PathOf(const std::string& utf8) {
  return {std::u8string(utf8.begin(), utf8.end())};
}

std::string ToolTest::Utf8Of(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

std::vector<std::string> ToolTest::LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string ToolTest::ContentOf(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace larder
