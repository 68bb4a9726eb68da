// Starts a program as a user would.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larder {

// Files that a program reads and writes. Those that it writes are created or overwritten.
struct ProgramFiles {
  std::filesystem::path errors;
  std::filesystem::path output;  // none: a pipe, which ReadLine reads
  std::filesystem::path input;   // none: standard input is empty
  bool hasReader = true;         // of the pipe
};

// A program that runs beside the test. One source for each system.
class RunningProgram {
 public:
  // arguments: UTF-8, without the program's name. Throws std::system_error if it can't be started.
  RunningProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                 const ProgramFiles& files);
  // Kills the program if it still runs.
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  // The next line of standard output, without its line feed; waits for it. None at the end.
  std::optional<std::string> ReadLine();

  // Waits for the program's end. Returns its exit status; on Linux, the negative number of the
  // signal that ended it.
  int Wait();

  long ProcessId() const;

 private:
  // False at the end.
  bool ReadByte(char& byte);

  struct Parts;
  std::unique_ptr<Parts> parts;
};

inline std::optional<std::string> RunningProgram::ReadLine() {
  std::string line;
  for (char byte = 0; ReadByte(byte); line += byte) {
    if (byte == '\n') return line;
  }
  return line.empty() ? std::nullopt : std::optional(line);
}

}  // namespace larder
