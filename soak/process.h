// Worker processes. A worker runs this program with other arguments. It ends with the process that
// started it.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace larder::soak {

// How a worker ended.
struct Ending {
  enum class Kind { kExited, kCrashed, kStillRunning } kind = Kind::kExited;
  int code = 0;  // exit status, or number of the signal or exception

  bool IsSuccess() const { return kind == Kind::kExited && code == 0; }
  std::string Text() const;
};

class Worker {
 public:
  explicit Worker(std::vector<std::string> arguments);  // throws std::system_error
  ~Worker();                                            // kills it if it is running
  Worker(Worker&&) noexcept = default;
  Worker& operator=(Worker&&) noexcept = default;

  void Kill();  // at once, and waits until it has ended
  void Pause();
  void Resume();
  // Waits until the worker ends, but not longer than the time, which guards against hanging.
  Ending Wait(std::chrono::milliseconds most = std::chrono::minutes(10));
  // Throws std::runtime_error with the arguments if the worker doesn't end by itself with status 0.
  void MustSucceed(std::chrono::milliseconds most = std::chrono::minutes(10));

 private:
  struct Process;
  struct Closer {
    void operator()(Process* process) const noexcept;
  };
  std::vector<std::string> arguments;
  std::unique_ptr<Process, Closer> process;
};

// The folder that has this program.
std::filesystem::path ProgramFolder();

// Runs a program without its output and returns whether its exit status is 0.
bool RunProgram(const std::vector<std::string>& command);

}  // namespace larder::soak
