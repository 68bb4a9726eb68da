#include "platform/linux/child-process.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <system_error>

namespace larder {

pid_t StartChild(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child != 0) return child;
  try {
    _exit(body());
  } catch (const std::exception&) {
    _exit(255);
  }
}

int WaitForChild(pid_t child) {
  int status = 0;
  if (child <= 0 || waitpid(child, &status, 0) != child) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int RunInChild(const std::function<int()>& body) { return WaitForChild(StartChild(body)); }

pid_t StartAsNobody(const std::function<int()>& body) {
  return StartChild([&body] {
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0))
      return 254;
    return body();
  });
}

int RunAsNobody(const std::function<int()>& body) { return WaitForChild(StartAsNobody(body)); }

Gate::Gate() {
  if (pipe2(ends.data(), O_CLOEXEC) != 0)
    throw std::system_error(errno, std::generic_category(), "no pipe");
}

Gate::~Gate() {
  Open();
  close(ends[0]);
}

void Gate::Open() {
  if (ends[1] >= 0) close(ends[1]);
  ends[1] = -1;
}

void Gate::Pass() {
  Open();
  char byte = 0;
  if (read(ends[0], &byte, 1) != 0) throw std::runtime_error("the gate's pipe gave something");
}

}  // namespace larder
