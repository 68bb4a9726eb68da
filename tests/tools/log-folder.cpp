#include "tools/log-folder.h"

#include <chrono>
#include <fstream>
#include <thread>

#include "tools/tool-test.h"

namespace larder {
namespace {

constexpr int kOldest = 5;

bool IsOwn(const std::filesystem::path& file) {
  return file.filename().string().find("_tool-") != std::string::npos;
}

// The log of a handle that was built names the tool's image; that of a failure, the test's module.
bool IsToolLog(const std::filesystem::path& file) {
  if (!file.filename().string().starts_with("lr_")) return false;
  const std::string content = ContentOf(file);
  return content.find(LARDER_TOOL_FILE " initialized Larder version") != std::string::npos ||
         content.find(LogFolder::kMissingModule) != std::string::npos;
}

}  // namespace

LogFolder::LogFolder(const std::filesystem::path& logsPath) : path(logsPath), before(Files()) {
  for (auto folder = path; !std::filesystem::exists(folder); folder = folder.parent_path()) {
    madeFolders.push_back(folder);
  }
  std::filesystem::create_directories(path);
}

LogFolder::~LogFolder() {
  std::error_code ignored;
  for (const auto& file : Files()) {
    if (IsOwn(file) || (!before.contains(file) && IsToolLog(file))) {
      std::filesystem::remove_all(file, ignored);
    }
  }
  for (const auto& folder : madeFolders) std::filesystem::remove(folder, ignored);  // if empty
}

void LogFolder::WriteBytes(const std::string& name, const std::string& bytes, int year) {
  std::ofstream(path / name, std::ios::binary) << bytes;
  const std::chrono::sys_days date{std::chrono::year(year) / 6 / 15};
  std::filesystem::last_write_time(path / name, std::filesystem::file_time_type::clock::from_sys(
                                                    std::chrono::sys_seconds(date)));
}

void LogFolder::Write(const std::string& name, const std::vector<std::string>& lines, int year) {
  std::string bytes;
  for (const std::string& line : lines) bytes += line + "\r\n";
  WriteBytes(name, bytes, year);
}

void LogFolder::Append(const std::string& name, const std::string& line) {
  std::ofstream(path / name, std::ios::binary | std::ios::app) << line + "\r\n";
}

void LogFolder::Rotate(const std::string& name, const std::string& line) {
  const auto generation = [&](int number) {
    return path / (number == 0 ? name : name + "." + std::to_string(number));
  };
  std::error_code ignored;  // a reader may hold a file open
  std::filesystem::remove(generation(kOldest), ignored);
  for (int i = kOldest; i > 0; --i) {
    std::filesystem::rename(generation(i - 1), generation(i), ignored);
  }
  Append(name, line);
}

LogFolder::Paths LogFolder::Files() const {
  Paths files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(path, error)) {
    files.insert(entry.path());
  }
  return files;
}

LogFolder::Paths LogFolder::ToolLogs() const {
  Paths logs = Files();
  std::erase_if(logs, [&](const auto& file) { return before.contains(file) || !IsToolLog(file); });
  return logs;
}

std::filesystem::path LogFolder::WaitForToolLog(const std::string& text) const {
  for (;; std::this_thread::yield()) {
    for (const auto& file : ToolLogs()) {
      if (ContentOf(file).find(text) != std::string::npos) return file;
    }
  }
}

}  // namespace larder
