#include "tools/larder/linux/spawn.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/native.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::kSuccess;

constexpr int kFirstFreeDescriptor = 3;

class Actions {
 public:
  explicit Actions(const SpawnSettings& settings) : error(posix_spawn_file_actions_init(&actions)) {
    if (error != 0) return;
    Note(posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
    Direct(settings.output, STDOUT_FILENO);
    Direct(settings.errors, STDERR_FILENO);
    Note(posix_spawn_file_actions_addclosefrom_np(&actions, kFirstFreeDescriptor));
  }
  ~Actions() { posix_spawn_file_actions_destroy(&actions); }
  Actions(const Actions&) = delete;
  Actions& operator=(const Actions&) = delete;

  [[nodiscard]] int Error() const { return error; }
  [[nodiscard]] const posix_spawn_file_actions_t* Get() const { return &actions; }

 private:
  void Direct(int source, int target) {
    Note(source < 0 ? posix_spawn_file_actions_addopen(&actions, target, "/dev/null", O_WRONLY, 0)
                    : posix_spawn_file_actions_adddup2(&actions, source, target));
  }
  void Note(int code) {
    if (error == 0) error = code;
  }

  posix_spawn_file_actions_t actions{};
  int error;
};

class Attributes {
 public:
  explicit Attributes(bool isOfOwnGroup) : error(posix_spawnattr_init(&attributes)) {
    if (error == 0 && isOfOwnGroup) {
      error = posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    }
  }
  ~Attributes() { posix_spawnattr_destroy(&attributes); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  [[nodiscard]] int Error() const { return error; }
  [[nodiscard]] const posix_spawnattr_t* Get() const { return &attributes; }

 private:
  posix_spawnattr_t attributes{};
  int error;
};

Code FromError(int error) { return error == 0 ? kSuccess : platform::CodeFromErrno(error); }

}  // namespace

Code Spawn(const std::string& program, std::vector<std::string> arguments,
           const SpawnSettings& settings, pid_t& child) {
  std::vector<char*> pointers{const_cast<char*>(program.c_str())};
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  const Actions actions(settings);
  const Attributes attributes(settings.isOfOwnGroup);
  if (actions.Error() != 0) return FromError(actions.Error());
  if (attributes.Error() != 0) return FromError(attributes.Error());
  signal(SIGCHLD, SIG_DFL);  // ignored, which is inherited, it would leave nothing to wait for
  return FromError(posix_spawnp(&child, program.c_str(), actions.Get(), attributes.Get(),
                                pointers.data(), environ));
}

Code WaitForChild(pid_t child, int& status) {
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return platform::CodeFromErrno(errno);
  }
  return kSuccess;
}

}  // namespace larder::tool
