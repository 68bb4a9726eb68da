// A session daemon of LTTng's, with one session, for one test.
#pragma once

#include <grp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace larder {

struct TracedLine {
  long thread;
  std::string text;
};

// Makes this process one of an ordinary user, if that is possible: all of root's use the system's
// daemon.
class OrdinaryUser {
 public:
  OrdinaryUser() {
    constexpr uid_t kNobody = 65534;
    if (geteuid() != 0 || !CanEnterFolder()) return;
    if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0)
      throw std::runtime_error("can't become an ordinary user");
  }

  static bool IsThisUser() { return geteuid() != 0; }

 private:
  // Whether all users can enter the current folder.
  static bool CanEnterFolder() {
    namespace fs = std::filesystem;
    for (fs::path folder = fs::current_path();; folder = folder.parent_path()) {
      if ((fs::status(folder).permissions() & fs::perms::others_exec) == fs::perms::none)
        return false;
      if (folder == folder.root_path()) return true;
    }
  }
};

class LttngDaemon {
 public:
  static bool IsInstalled() { return std::system("command -v lttng-sessiond >/dev/null") == 0; }

  // Processes of this user that load LTTng during this object's lifetime can be traced.
  // kind: arguments of "lttng create".
  explicit LttngDaemon(const std::filesystem::path& own, const std::string& kind = "")
      : folder(own) {
    setenv("LTTNG_HOME", folder.c_str(), 1);
    sigset_t signals;
    sigset_t before;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);  // ready
    sigaddset(&signals, SIGCHLD);
    sigprocmask(SIG_BLOCK, &signals, &before);
    const pid_t parent = getpid();
    daemon = fork();
    if (daemon == 0) BecomeDaemon(before, parent);
    int signal = 0;
    sigwait(&signals, &signal);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    if (signal != SIGUSR1) throw std::runtime_error("lttng-sessiond doesn't start");
    CreateSession(kind);
  }
  ~LttngDaemon() { End(SIGTERM); }
  LttngDaemon(const LttngDaemon&) = delete;
  LttngDaemon& operator=(const LttngDaemon&) = delete;

  void End(int signal) {
    if (daemon == 0) return;
    kill(daemon, signal);
    waitpid(daemon, nullptr, 0);
    daemon = 0;
  }

  // Before Lines.
  void RecordThreads() { Run("add-context -u -c memory -t vtid"); }
  void Start() { Run("start lines"); }
  void Stop() { Run("stop lines"); }

  // What the session has recorded, in order. Other events have their name for a text.
  std::vector<TracedLine> Lines() {
    const std::filesystem::path text = folder / "trace.txt";
    Shell("babeltrace2 " + (folder / "trace").string() + " >" + text.string());
    std::ifstream file(text);
    std::vector<TracedLine> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(Parse(line));
    return lines;
  }

 private:
  [[noreturn]] static void BecomeDaemon(const sigset_t& signals, pid_t parent) {
    sigprocmask(SIG_SETMASK, &signals, nullptr);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() == parent)
      execlp("lttng-sessiond", "lttng-sessiond", "--no-kernel", "--quiet", "--sig-parent", nullptr);
    _exit(127);
  }

  // Every event of the library.
  void CreateSession(const std::string& kind) {
    Run("create lines " + kind + " --output=" + (folder / "trace").string());
    // The lines of a test fit into it, whether or not they are read meanwhile.
    Run("enable-channel -u memory --subbuf-size=128K --num-subbuf=4");
    Run("enable-event -u -c memory larder:* --loglevel=INFO");
  }
  void Run(const std::string& command) { Shell("lttng --no-sessiond --quiet " + command); }

  void Shell(const std::string& command) {
    if (std::system((command + " 2>" + (folder / "errors.txt").string()).c_str()) != 0)
      throw std::runtime_error(command + " failed");
  }

  // [10:31:51.021840034] (+?.?????????) vm larder:line: { cpu_id = 1 }, { vtid = 7 }, { line =
  // "TRACE: x" }
  static TracedLine Parse(const std::string& event) {
    constexpr std::string_view kThread = "{ vtid = ";
    constexpr std::string_view kLine = "{ line = \"";
    const long thread = std::stol(event.substr(event.find(kThread) + kThread.size()));
    const std::size_t begin = event.find(kLine);
    if (begin == std::string::npos) return {thread, event.substr(event.find("larder:"))};
    std::string text;
    for (std::size_t i = begin + kLine.size(); event[i] != '"'; ++i) {
      if (event[i] == '\\') ++i;
      text += event[i];
    }
    return {thread, text};
  }

  std::filesystem::path folder;
  pid_t daemon = 0;
};

}  // namespace larder
