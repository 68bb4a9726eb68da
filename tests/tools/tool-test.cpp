#include "tools/tool-test.h"

#include <algorithm>
#include <chrono>
#include <fstream>

#include "platform/module.h"

namespace larder {

ToolRun ToolTest::Run(const std::filesystem::path& program, const Words& arguments,
                      const std::string& input) {
  MakeFile("input", input);
  const int status = RunningProgram(program, arguments, {"errors", "output", "input"}).Wait();
  return {status, ContentOf("output"), ContentOf("errors")};
}

std::string ToolTest::MustRun(const Words& arguments) {
  const ToolRun run = Run(tool, arguments);
  EXPECT_EQ(run.status, 0) << testing::PrintToString(arguments);
  EXPECT_EQ(run.errors, "") << testing::PrintToString(arguments);
  return run.output;
}

std::unique_ptr<RunningProgram> ToolTest::Start(const Words& arguments, bool hasReader) {
  const ProgramFiles files{"errors-of-started", {}, {}, hasReader};
  return std::make_unique<RunningProgram>(tool, arguments, files);
}

void ToolTest::InstallModules(const Words& names) {
  MustRun({"registry", "set", "Install", "szLocation", Location()});
  for (const std::string& built : names) {
    const std::string name = std::filesystem::path(built).filename().string();
    if (!std::filesystem::exists(name)) std::filesystem::copy_file(BuiltFile(built), name);
    MustRun({"registry", "set", "DataProviders\\" + name, "szDLL", name});
    if (name != "feed-file.dll") continue;
    std::filesystem::copy_file(BuiltFile("stock-file-query.dll"), "stock-file-query.dll");
  }
}

void ToolTest::CopyTool(const std::string& name) {
  const std::filesystem::path folder = machine.Folder() / name;
  std::filesystem::create_directory(folder);
  for (const auto& entry : std::filesystem::directory_iterator(BuiltFile(""))) {
    const auto file = entry.path().filename();
    const bool isLibrary = file.string().find(".so") != std::string::npos;  // with a version or not
    if (isLibrary || file.extension() == ".dll" || file == LARDER_TOOL_FILE)
      std::filesystem::copy(entry, folder / file, std::filesystem::copy_options::copy_symlinks);
  }
  tool = folder / LARDER_TOOL_FILE;
}

void ToolTest::MakeFile(const std::string& name, const std::string& content) {
  const std::filesystem::path path(std::u8string(name.begin(), name.end()));
  if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

void ToolTest::MakeLog(const std::string& name, const std::string& content, int year) const {
  const std::chrono::sys_days date{std::chrono::year(year) / 6 / 15};
  const std::filesystem::path path = machine.Data() / "logs" / name;
  MakeFile(path.string(), content);
  std::filesystem::last_write_time(
      path, std::chrono::file_clock::from_sys(std::chrono::sys_seconds(date)));
}

std::filesystem::path ToolTest::BuiltFile(const std::string& name) {
  WideString image;
  EXPECT_EQ(platform::HostImagePath(image), platform::kSuccess);
  return PathOf(image).parent_path() / name;
}

std::string ToolTest::Location() const {
  std::string path = machine.Folder().string() + "/";
  std::ranges::replace(path, '/', '\\');
  return path;
}

}  // namespace larder
