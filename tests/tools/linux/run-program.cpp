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

constexpr int kMode = 0644;

void Require(int error, const std::string& what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

class FileActions {
 public:
  FileActions() { Require(posix_spawn_file_actions_init(&actions), "posix_spawn_file_actions"); }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  void Open(int descriptor, const std::filesystem::path& path, int flags) {
    Require(posix_spawn_file_actions_addopen(&actions, descriptor, path.c_str(), flags, kMode),
            "open " + path.string());
  }
  void Duplicate(int from, int to) {
    Require(posix_spawn_file_actions_adddup2(&actions, from, to), "dup2");
  }

  posix_spawn_file_actions_t actions;
};

void OpenCommon(FileActions& actions, const std::filesystem::path& errors,
                const std::filesystem::path& input = {}) {
  actions.Open(STDIN_FILENO, input.empty() ? "/dev/null" : input, O_RDONLY);
  actions.Open(STDERR_FILENO, errors, O_WRONLY | O_CREAT | O_TRUNC);
}

pid_t Start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
            const FileActions& actions) {
  std::vector<std::string> texts{program.string()};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  pid_t child = 0;
  Require(posix_spawn(&child, program.c_str(), &actions.actions, nullptr, pointers.data(), environ),
          "start " + program.string());
  return child;
}

int WaitFor(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) Require(errno == EINTR ? 0 : errno, "waitpid");
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

int RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors,
               const std::filesystem::path& input) {
  FileActions actions;
  OpenCommon(actions, errors, input);
  actions.Open(STDOUT_FILENO, output, O_WRONLY | O_CREAT | O_TRUNC);
  return WaitFor(Start(program, arguments, actions));
}

struct RunningProgram::Parts {
  pid_t child = 0;  // 0 once it has been waited for
  int output = -1;
};

RunningProgram::RunningProgram(const std::filesystem::path& program,
                               const std::vector<std::string>& arguments,
                               const std::filesystem::path& errors, bool hasReader)
    : parts(std::make_unique<Parts>()) {
  int ends[2];
  Require(pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno, "pipe");
  if (hasReader) {
    parts->output = ends[0];
  } else {
    close(ends[0]);
  }
  FileActions actions;
  OpenCommon(actions, errors);
  actions.Duplicate(ends[1], STDOUT_FILENO);
  parts->child = Start(program, arguments, actions);
  close(ends[1]);
}

RunningProgram::~RunningProgram() {
  if (parts->child != 0) {
    kill(parts->child, SIGKILL);
    Wait();
  }
  close(parts->output);
}

int RunningProgram::Wait() { return WaitFor(std::exchange(parts->child, 0)); }

std::optional<int> RunningProgram::Stop() {
  kill(parts->child, SIGINT);
  return Wait();
}

long RunningProgram::ProcessId() const { return parts->child; }

std::size_t RunningProgram::ReadSome(char* bytes, std::size_t size) {
  ssize_t got = -1;
  while ((got = read(parts->output, bytes, size)) < 0) Require(errno == EINTR ? 0 : errno, "read");
  return static_cast<std::size_t>(got);
}

}  // namespace larder
