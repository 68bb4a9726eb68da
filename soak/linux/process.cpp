#include "soak/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace larder::soak {
namespace {

pid_t Start(const char* program, const std::vector<std::string>& arguments, bool isQuiet) {
  std::vector<char*> pointers;
  for (const std::string& argument : arguments)
    pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  const pid_t id = ::fork();
  if (id == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (isQuiet) ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
    ::execv(program, pointers.data());
    ::_exit(127);
  }
  if (id < 0) throw std::system_error(errno, std::generic_category(), "fork");
  return id;
}

}  // namespace

struct Worker::Process {
  pid_t id = 0;
  bool ended = false;
  Ending ending;

  void TakeStatus(int status) {
    ended = true;
    const bool exited = WIFEXITED(status);
    ending.kind = exited ? Ending::Kind::kExited : Ending::Kind::kCrashed;
    ending.code = exited ? WEXITSTATUS(status) : WTERMSIG(status);
  }
};

std::string Ending::Text() const {
  switch (kind) {
    case Kind::kExited:
      return "exit status " + std::to_string(code);
    case Kind::kCrashed:
      return "signal " + std::to_string(code);
    case Kind::kStillRunning:
      break;
  }
  return "still running when its time was over";
}

void Worker::Closer::operator()(Process* process) const noexcept { delete process; }

Worker::Worker(std::vector<std::string> texts) : arguments(std::move(texts)), process(new Process) {
  std::vector<std::string> command = {"worker-process", "worker"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  process->id = Start("/proc/self/exe", command, false);
}

Worker::~Worker() {
  if (process != nullptr && !process->ended) Kill();
}

void Worker::Kill() {
  if (process->ended) return;
  ::kill(process->id, SIGKILL);
  int status = 0;
  ::waitpid(process->id, &status, 0);
  process->TakeStatus(status);
}

void Worker::Pause() { ::kill(process->id, SIGSTOP); }

void Worker::Resume() { ::kill(process->id, SIGCONT); }

Ending Worker::Wait(std::chrono::milliseconds most) {
  if (process->ended) return process->ending;
  const auto descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process->id, 0));
  pollfd end{.fd = descriptor, .events = POLLIN, .revents = 0};
  const int changed = ::poll(&end, 1, static_cast<int>(most.count()));
  ::close(descriptor);
  if (changed != 1) return {.kind = Ending::Kind::kStillRunning};
  int status = 0;
  ::waitpid(process->id, &status, 0);
  process->TakeStatus(status);
  return process->ending;
}

std::filesystem::path ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

bool RunProgram(const std::vector<std::string>& command) {
  int status = 0;
  ::waitpid(Start(command.front().c_str(), command, true), &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace larder::soak
