#include "tools/run-program.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace larder {
namespace {

void Require(int code, const std::string& what) {
  if (code != 0) throw std::system_error(code, std::generic_category(), what);
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
  Require(pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno, "pipe");
  parts->output = ends[0];
  if (!files.hasReader) close(std::exchange(parts->output, -1));
  std::vector<std::string> texts{program.string()};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  constexpr int kWrite = O_WRONLY | O_CREAT | O_TRUNC;
  const char* const input = files.input.empty() ? "/dev/null" : files.input.c_str();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, input, O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, files.errors.c_str(), kWrite, 0644);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  if (!files.output.empty()) {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, files.output.c_str(), kWrite, 0644);
  }
  const int code =
      posix_spawn(&parts->child, texts[0].c_str(), &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  Require(code, "start " + texts[0]);
}

RunningProgram::~RunningProgram() {
  if (parts->child != 0) kill(parts->child, SIGKILL);
  if (parts->child != 0) Wait();
  close(parts->output);
}

int RunningProgram::Wait() {
  int status = 0;
  Require(waitpid(parts->child, &status, 0) == parts->child ? 0 : errno, "waitpid");
  parts->child = 0;
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

long RunningProgram::ProcessId() const { return parts->child; }

bool RunningProgram::ReadByte(char& byte) {
  const ssize_t got = read(parts->output, &byte, 1);
  Require(got >= 0 ? 0 : errno, "read");
  return got != 0;
}

}  // namespace larder
