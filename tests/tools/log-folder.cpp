#include "tools/log-folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "platform/console.h"
#include "platform/log-file.h"

namespace larder {
namespace {

constexpr const char* kOwnMark = "_tool-";
constexpr int kOldest = 5;

std::string ContentOf(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

WideString WideOf(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  WideString wide;
  EXPECT_EQ(platform::FullPath(std::string(text.begin(), text.end()), wide), platform::kSuccess);
  return wide;
}

bool IsOwn(const std::filesystem::path& file) {
  return file.filename().string().find(kOwnMark) != std::string::npos;
}

// The log of a handle that was built names the tool's image; that of a failure, the test's module.
bool IsToolLog(const std::filesystem::path& file) {
  if (!file.filename().string().starts_with("lr_")) return false;
  const std::string content = ContentOf(file);
  return content.find(LARDER_TOOL_FILE " initialized Larder version") != std::string::npos ||
         content.find(LogFolder::kMissingModule) != std::string::npos;
}

}  // namespace

LogFolder::LogFolder(const std::filesystem::path& logsPath)
    : path((logsPath / "").parent_path()), before(Files()) {
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
    return WideOf(path / (number == 0 ? name : name + "." + std::to_string(number)));
  };
  platform::RemoveFile(generation(kOldest));
  for (int i = kOldest; i > 0; --i) platform::RenameFile(generation(i - 1), generation(i));
  Append(name, line);
}

std::set<std::filesystem::path> LogFolder::Files() const {
  std::set<std::filesystem::path> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(path, error)) {
    files.insert(entry.path());
  }
  return files;
}

std::map<std::string, std::string> LogFolder::OwnFiles() const {
  std::map<std::string, std::string> contents;
  for (const auto& file : Files()) {
    if (IsOwn(file)) contents[file.filename().string()] = ContentOf(file);
  }
  return contents;
}

std::vector<std::filesystem::path> LogFolder::ToolLogs() const {
  std::vector<std::filesystem::path> logs;
  for (const auto& file : Files()) {
    if (!before.contains(file) && IsToolLog(file)) logs.push_back(file);
  }
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
