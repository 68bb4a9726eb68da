#include "tools/larder/status/child.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "platform/linux/file-descriptor.h"
#include "platform/linux/native.h"
#include "tools/larder/linux/spawn.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::kSuccess;

using Clock = std::chrono::steady_clock;

using platform::FileDescriptor;

constexpr std::size_t kMaxOutput = 0x10000;
constexpr int kFirstFreeDescriptor = 3;

pid_t StartedProcess = 0;  // the one that called EndWithStarter

// Adds what can be read at once, up to the limit; the rest is discarded. False at the end.
bool ReadOutput(int pipe, std::string& output) {
  std::array<char, 4096> bytes;
  const ssize_t got = read(pipe, bytes.data(), bytes.size());
  if (got > 0) output.append(bytes.data(), static_cast<std::size_t>(got));
  output.resize(std::min(output.size(), kMaxOutput));
  return got > 0 || (got < 0 && (errno == EINTR || errno == EAGAIN));
}

// Whether the process ends before the moment; reads its output meanwhile. A failed wait counts as
// its end, with its code.
bool EndsUntil(Clock::time_point moment, int process, int pipe, std::string& output, Code& code) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(moment - Clock::now());
    pollfd watched[] = {{process, POLLIN, 0}, {pipe, POLLIN, 0}};
    const int ready = poll(watched, 2, static_cast<int>(std::max<long>(left.count(), 0)));
    if (ready < 0 && errno != EINTR) code = platform::CodeFromErrno(errno);
    if (code != kSuccess || (ready > 0 && watched[0].revents != 0)) return true;
    if (left.count() <= 0) return false;
    if (ready > 0 && !ReadOutput(pipe, output)) pipe = -1;  // poll ignores it
  }
}

Code WaitForEnd(pid_t child, int pipe, std::chrono::milliseconds limit, ChildResult& result) {
  const FileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
  Code code = process.IsOpen() ? kSuccess : platform::CodeFromErrno(errno);
  const bool isTimedOut = process.IsOpen() && !EndsUntil(Clock::now() + limit, process.Get(), pipe,
                                                         result.output, code);
  if (isTimedOut || code != kSuccess) kill(child, SIGKILL);
  int status = 0;
  if (const Code ended = WaitForChild(child, status); ended != kSuccess) return ended;
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

// Format of /proc/PID/stat: "PID (NAME) STATE PARENT ...", where NAME may contain anything.
bool IsOwnChild(const std::filesystem::path& process) {
  std::ifstream file(process / "stat");
  std::string text;
  std::getline(file, text, '\0');  // fails, and throws nothing, if the process has just ended
  std::istringstream fields(text.substr(std::min(text.rfind(')') + 1, text.size())));
  char state = 0;
  pid_t parent = 0;
  return fields >> state >> parent && parent == getpid();
}

std::set<pid_t> Children() {
  std::set<pid_t> children;
  std::error_code ignored;
  for (std::filesystem::directory_iterator entry("/proc", ignored), end; entry != end;
       entry.increment(ignored)) {
    const pid_t process = std::atoi(entry->path().filename().c_str());
    if (process > 0 && IsOwnChild(entry->path())) children.insert(process);
  }
  return children;
}

// Kills what a child has left: orphans are this process's children by then, and their own children
// become so when they end. `spared` also receives those that can't be killed.
void KillOrphans(std::set<pid_t>& spared) {
  constexpr int kMaxRounds = 1000;  // in case they multiply faster
  bool isAny = true;
  for (int round = 0; isAny && round < kMaxRounds; ++round) {
    isAny = false;
    for (const pid_t process : Children()) {
      if (!spared.insert(process).second) continue;
      isAny = true;
      if (kill(process, SIGKILL) != 0) continue;
      while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
      }
      spared.erase(process);  // the number may be used again
    }
  }
}

}  // namespace

Code RunChild(const WideString& program, const std::vector<std::string>& arguments,
              std::chrono::milliseconds limit, ChildResult& result) {
  std::string native;
  if (const Code code = platform::NativePath(program, native); code != kSuccess) return code;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return platform::CodeFromErrno(errno);
  const FileDescriptor reading(ends[0]);
  FileDescriptor writing(ends[1]);
  // Orphans become children of this process rather than of the system's first one.
  if (fcntl(reading.Get(), F_SETFL, O_NONBLOCK) != 0 || prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
    return platform::CodeFromErrno(errno);
  }
  std::set<pid_t> spared = Children();
  pid_t child = 0;
  if (const Code code = Spawn(native, arguments, {writing.Get()}, child); code != kSuccess) {
    return code;
  }
  writing = FileDescriptor();
  const Code code = WaitForEnd(child, reading.Get(), limit, result);
  KillOrphans(spared);
  errno = 0;
  while (ReadOutput(reading.Get(), result.output) && errno != EAGAIN) {
  }
  return code;
}

void EndWithStarter() noexcept {
  StartedProcess = getpid();
  prctl(PR_SET_PDEATHSIG, SIGKILL);
}

void EndIfCopied() noexcept {
  if (StartedProcess != 0 && StartedProcess != getpid()) _exit(EXIT_SUCCESS);
}

FILE* TakeStandardOutput() noexcept {
  const int output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, kFirstFreeDescriptor);
  const FileDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
  if (output < 0) return nullptr;
  FILE* file = dup2(nowhere.Get(), STDOUT_FILENO) < 0 ? nullptr : fdopen(output, "w");
  if (file == nullptr) close(output);
  return file;
}

}  // namespace larder::tool
