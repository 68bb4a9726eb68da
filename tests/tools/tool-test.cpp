#include "tools/tool-test.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "platform/module.h"
#include "platform/utf.h"
#include "tools/larder/cli/console.h"

namespace larder {

ToolRun ToolTest::Run(const Words& arguments, const std::string& input) {
  const auto output = machine.Folder() / "standard-output";
  const auto errors = machine.Folder() / "standard-error";
  const int status = RunProgram(tool, arguments, output, errors, MakeFile("standard-input", input));
  return {status, ContentOf(output), ContentOf(errors)};
}

ToolRun ToolTest::Run(const Words& arguments, int status) {
  ToolRun run = Run(arguments);
  EXPECT_EQ(run.status, status) << testing::PrintToString(arguments);
  return run;
}

std::string ToolTest::MustRun(const Words& arguments) {
  const ToolRun run = Run(arguments, 0);
  EXPECT_EQ(run.errors, "") << testing::PrintToString(arguments);
  return run.output;
}

std::string ToolTest::MustFail(const Words& arguments, int status) {
  const ToolRun run = Run(arguments, status);
  EXPECT_EQ(run.output, "") << testing::PrintToString(arguments);
  return run.errors;
}

std::unique_ptr<RunningProgram> ToolTest::Start(const Words& arguments, bool hasReader) {
  return std::make_unique<RunningProgram>(tool, arguments, machine.Folder() / "started", hasReader);
}

void ToolTest::RegisterModules(const Words& names) {
  const auto copy = [&](const std::string& name) {
    std::filesystem::copy_file(BuiltFile(name), machine.Folder() / name);
  };
  MustRun({"registry", "set", "Install", "szLocation", RegistryTextOf(machine.Folder())});
  for (const std::string& name : names) {
    copy(name);
    if (name == "feed-file.dll") copy("stock-file-query.dll");
    MustRun({"registry", "set", "DataProviders\\" + name, "szDLL", name});
  }
}

void ToolTest::CopyTool(const std::string& name) {
  const std::filesystem::path folder = machine.Folder() / name;
  std::filesystem::create_directories(folder);
  std::filesystem::copy_file(tool, folder / LARDER_TOOL_FILE);
  for (const auto& entry : std::filesystem::directory_iterator(tool.parent_path())) {
    const std::string extension = entry.path().extension().string();
    if (extension != ".dll" && extension != ".so") continue;
    std::filesystem::copy_file(entry.path(), folder / entry.path().filename());
  }
  tool = folder / LARDER_TOOL_FILE;
}

std::filesystem::path ToolTest::MakeFile(const std::string& utf8Name, const std::string& content) {
  const std::filesystem::path path = machine.Folder() / PathOf(utf8Name);
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

std::string ToolTest::InFolder(const std::string& utf8Name) const {
  return Utf8Of(machine.Folder()) + "/" + utf8Name;
}

std::filesystem::path ToolTest::LogsPath() {
  return PathOf(MustList({"log", "path"}).at(0)).parent_path();
}

std::string ToolTest::RegistryTextOf(const std::filesystem::path& folder) {
  WideString wide;
  EXPECT_EQ(tool::FullPath(Utf8Of(folder), wide), platform::kSuccess);
  return platform::Utf8FromWide(wide) + "\\";
}

std::filesystem::path ToolTest::BuiltFile(const std::string& name) {
  WideString image;
  EXPECT_EQ(platform::HostImagePath(image), platform::kSuccess);
  return PathOf(tool::PathText(image)).parent_path() / name;
}

std::filesystem::path ToolTest::PathOf(const std::string& utf8) {
  return {std::u8string(utf8.begin(), utf8.end())};
}

std::string ToolTest::Utf8Of(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

Words ToolTest::LinesOf(const std::string& text) {
  Words lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string ContentOf(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace larder
