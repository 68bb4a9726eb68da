#include "tools/run-program.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace larder {
namespace {

void Require(bool succeeded, const std::string& what) {
  if (!succeeded) throw std::system_error(errno, std::generic_category(), what);
}

void Redirect(int descriptor, const char* path, int flags) {
  const int file = open(path, flags | O_CLOEXEC, 0644);
  if (file < 0 || dup2(file, descriptor) < 0) _exit(255);
}

// In the child. Calls only what may be called between fork and exec.
[[noreturn]] void Become(char* const* arguments, const ProgramFiles& files, int pipe) {
  constexpr int kWrite = O_WRONLY | O_CREAT | O_TRUNC;
  Redirect(STDIN_FILENO, files.input.empty() ? "/dev/null" : files.input.c_str(), O_RDONLY);
  Redirect(STDERR_FILENO, files.errors.c_str(), kWrite);
  if (files.output.empty()) {
    dup2(pipe, STDOUT_FILENO);
  } else {
    Redirect(STDOUT_FILENO, files.output.c_str(), kWrite);
  }
  execv(arguments[0], arguments);
  _exit(255);
}

}  // namespace

struct RunningProgram::Parts {
  pid_t child = 0;  // 0 once it has been waited for
  int output = -1;
};

RunningProgram::RunningProgram(const std::filesystem::path& program,
                               const std::vector<std::string>& arguments, const ProgramFiles& files)
    : parts(std::make_unique<Parts>()) {
  int ends[2];
  Require(pipe2(ends, O_CLOEXEC) == 0, "pipe");
  parts->output = ends[0];
  if (!files.hasReader) close(std::exchange(parts->output, -1));
  std::vector<std::string> texts{program.string()};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  parts->child = fork();
  if (parts->child == 0) Become(pointers.data(), files, ends[1]);
  close(ends[1]);
  Require(parts->child > 0, "fork");
}

RunningProgram::~RunningProgram() {
  if (parts->child != 0) kill(parts->child, SIGKILL);
  if (parts->child != 0) Wait();
  close(parts->output);
}

int RunningProgram::Wait() {
  int status = 0;
  Require(waitpid(parts->child, &status, 0) == parts->child, "waitpid");
  parts->child = 0;
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

long RunningProgram::ProcessId() const { return parts->child; }

bool RunningProgram::ReadByte(char& byte) {
  const ssize_t got = read(parts->output, &byte, 1);
  Require(got >= 0, "read");
  return got != 0;
}

}  // namespace larder
