// Parts of a test that run in a process of their own. They return 0 to 255 and make no assertions.
#pragma once

#include <fcntl.h>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>
#include <functional>
#include <vector>

namespace larder {

inline pid_t StartChild(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child != 0) return child;
  try {
    _exit(body());
  } catch (const std::exception&) {
    _exit(255);
  }
}

// The result of the child's part; -1 if the child ended in another way.
inline int WaitForChild(pid_t child) {
  int status = 0;
  if (child <= 0 || waitpid(child, &status, 0) != child) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

inline int RunInChild(const std::function<int()>& body) { return WaitForChild(StartChild(body)); }

// The same as an ordinary user: one that owns nothing and that permissions apply to.
inline int RunAsNobody(const std::function<int()>& body) {
  return RunInChild([&body] {
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0))
      return 254;
    return body();
  });
}

// Runs the body in several children at once; 0 if it returned 0 in all of them.
inline int RunInChildren(int count, const std::function<int()>& body) {
  std::array<int, 2> gate{};  // a pipe that ends when all children have been started
  if (pipe2(gate.data(), O_CLOEXEC) != 0) return -1;
  const auto waitAndRun = [&] {
    char byte = 0;
    close(gate[1]);
    return read(gate[0], &byte, 1) == 0 ? body() : 253;
  };
  std::vector<pid_t> children;
  for (int i = 0; i < count; ++i) children.push_back(StartChild(waitAndRun));
  for (const int end : gate) close(end);
  int result = 0;
  for (const pid_t child : children) result = std::max(result, std::abs(WaitForChild(child)));
  return result;
}

}  // namespace larder
