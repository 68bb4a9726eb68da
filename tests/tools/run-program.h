// Starts a program as a user would. One source for each system, and one for what they share.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larder {

// Standard output and error go to two files, made anew or written over; standard input is a file,
// or empty. arguments: UTF-8, without the program's name. Gives the exit status, or the number of
// the signal that ended the program with a minus sign in front. Throws std::system_error if it
// can't be started.
int RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors,
               const std::filesystem::path& input = {});

// A program that runs beside the test. Standard error goes to a file, standard input is empty.
class RunningProgram {
 public:
  // Without a reader, standard output is a pipe that nobody reads from any more.
  RunningProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                 const std::filesystem::path& errors, bool hasReader = true);
  // Ends the program at once if it still runs.
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  // The next line of standard output, without its line feed; waits for it. Nothing at the end.
  std::optional<std::string> ReadLine();

  // Waits for the program's end and gives its exit status as RunProgram does.
  int Wait();

  // Lets the program end as its user would, and waits for that; gives its exit status. Where a
  // program without a console can't be asked (Windows), it is ended at once, and there is none.
  std::optional<int> Stop();

  // For what only one system can do with it.
  long ProcessId() const;

 private:
  // 0 at the end.
  std::size_t ReadSome(char* bytes, std::size_t size);

  struct Parts;
  std::unique_ptr<Parts> parts;
  std::string pending;
};

}  // namespace larder
