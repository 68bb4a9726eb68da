#include "tools/larder/status/child.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "platform/linux/file-descriptor.h"
#include "platform/linux/native.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::kSuccess;

using Clock = std::chrono::steady_clock;

constexpr off_t kMaxOutput = 0x10000;

struct CloseFile {
  void operator()(FILE* file) const noexcept { fclose(file); }
};
using OutputFile = std::unique_ptr<FILE, CloseFile>;

Code FromError(int error) { return error == 0 ? kSuccess : platform::CodeFromErrno(error); }

class Actions {
 public:
  explicit Actions(int output) : error(posix_spawn_file_actions_init(&actions)) {
    if (error != 0) return;
    Note(posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
    Note(posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0));
    Note(posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO));
  }
  ~Actions() { posix_spawn_file_actions_destroy(&actions); }
  Actions(const Actions&) = delete;
  Actions& operator=(const Actions&) = delete;

  [[nodiscard]] int Error() const { return error; }
  [[nodiscard]] const posix_spawn_file_actions_t* Get() const { return &actions; }

 private:
  void Note(int code) {
    if (error == 0) error = code;
  }

  posix_spawn_file_actions_t actions{};
  int error;
};

Code Start(const std::string& program, std::vector<std::string> arguments, int output,
           pid_t& child) {
  std::vector<char*> pointers{const_cast<char*>(program.c_str())};
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  const Actions actions(output);
  if (actions.Error() != 0) return FromError(actions.Error());
  return FromError(
      posix_spawn(&child, program.c_str(), actions.Get(), nullptr, pointers.data(), environ));
}

// Whether the process ends before the moment. A failed wait counts as its end, with its code.
bool EndsUntil(Clock::time_point moment, int process, Code& code) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(moment - Clock::now());
    pollfd watched{process, POLLIN, 0};
    const int ready = poll(&watched, 1, static_cast<int>(std::max<long>(left.count(), 0)));
    if (ready > 0) return true;
    if (ready == 0) return false;
    if (errno == EINTR) continue;
    code = platform::CodeFromErrno(errno);
    return true;
  }
}

Code WaitForEnd(pid_t child, std::chrono::milliseconds limit, ChildResult& result) {
  const platform::FileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
  Code code = process.IsOpen() ? kSuccess : platform::CodeFromErrno(errno);
  const bool isTimedOut = process.IsOpen() && !EndsUntil(Clock::now() + limit, process.Get(), code);
  if (isTimedOut || code != kSuccess) kill(child, SIGKILL);
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return platform::CodeFromErrno(errno);
  }
  if (isTimedOut) {
    result.kind = ChildResult::Kind::kTimedOut;
  } else if (WIFSIGNALED(status)) {
    result.kind = ChildResult::Kind::kCrashed;
    result.status = static_cast<std::uint32_t>(WTERMSIG(status));
  } else {
    result.kind = ChildResult::Kind::kExited;
    result.status = static_cast<std::uint32_t>(WEXITSTATUS(status));
  }
  return code;
}

Code ReadTail(int file, std::string& text) {
  struct stat status {};
  if (fstat(file, &status) != 0) return platform::CodeFromErrno(errno);
  const off_t start = std::max<off_t>(status.st_size - kMaxOutput, 0);
  text.resize(static_cast<std::size_t>(status.st_size - start));
  const ssize_t got = pread(file, text.data(), text.size(), start);
  if (got < 0) return platform::CodeFromErrno(errno);
  text.resize(static_cast<std::size_t>(got));
  return kSuccess;
}

}  // namespace

Code RunChild(const WideString& program, const std::vector<std::string>& arguments,
              std::chrono::milliseconds limit, ChildResult& result) {
  std::string native;
  if (const Code code = platform::NativePath(program, native); code != kSuccess) return code;
  const OutputFile output(tmpfile());
  if (!output) return platform::CodeFromErrno(errno);
  const int file = fileno(output.get());
  pid_t child = 0;
  if (const Code code = Start(native, arguments, file, child); code != kSuccess) return code;
  if (const Code code = WaitForEnd(child, limit, result); code != kSuccess) return code;
  return ReadTail(file, result.output);
}

}  // namespace larder::tool
