// The logs directory of a ToolMachine: what the test makes there, and what the tool's own log adds.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace larder {

// On Windows the directory is the machine's real one, and other programs may be writing logs there:
// the test's own files have "_tool-" in their names, which no logger draws, and dates that no log
// has.
class LogFolder {
 public:
  using Paths = std::set<std::filesystem::path>;
  static constexpr const char* kMissingModule = "missing-tool-module.dll";

  explicit LogFolder(const std::filesystem::path& logsPath);
  // Takes away what the test and the tool have made there.
  ~LogFolder();
  LogFolder(const LogFolder&) = delete;
  LogFolder& operator=(const LogFolder&) = delete;

  const std::filesystem::path& Path() const { return path; }

  // A file of these lines, each with CR LF, last changed in the middle of that year.
  void Write(const std::string& name, const std::vector<std::string>& lines, int year = 2100);
  // The same with the bytes as they stand.
  void WriteBytes(const std::string& name, const std::string& bytes, int year = 2100);
  void Append(const std::string& name, const std::string& line);
  // As a logger does with the file of this name and its generations before it writes a line. The
  // line goes to the old file when another program keeps that from being renamed.
  void Rotate(const std::string& name, const std::string& line);

  // Logs that the tool has written since this object was made. One of a failed start is known by a
  // module that it couldn't load, kMissingModule.
  Paths ToolLogs() const;
  // The same once one of them has this text in it; waits for that.
  std::filesystem::path WaitForToolLog(const std::string& text) const;

 private:
  Paths Files() const;

  std::filesystem::path path;
  std::vector<std::filesystem::path> madeFolders;
  Paths before;
};

}  // namespace larder
