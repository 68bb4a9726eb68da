// The trace session of Linux: the library's lines in a session of LTTng's.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/host-machine.h"
#include "log/linux/lttng-daemon.h"
#include "log/log-statement.h"
#include "log/trace-session.h"
#include "platform/linux/child-process.h"
#include "testing/files.h"
#include "testing/process.h"
#include "tools/larder/check/process-resources.h"

namespace larder {
namespace {

using testing::ElementsAre;

constexpr char kIsFollowed[] = "LARDER_TEST_IS_FORK_FOLLOWED";

class Lttng : public testing::Test {
 protected:
  void SetUp() override {
    if (!OrdinaryUser::IsThisUser()) GTEST_SKIP() << "only root can enter the build folder";
    if (!LttngDaemon::IsInstalled()) GTEST_SKIP() << "lttng-tools isn't installed";
    if (getenv(kIsFollowed) != nullptr) return;  // the program that started this one has a daemon
    daemon.emplace(host.machine.Folder());
    daemon->RecordThreads();
  }
  ~Lttng() override { DetachTrace(); }

  static void WaitUntilEnabled(bool isEnabled) {
    while (IsTraceEnabled() != isEnabled) std::this_thread::yield();
  }

  std::vector<std::string> Texts() {
    std::vector<std::string> texts;
    for (const TracedLine& line : daemon->Lines()) texts.push_back(line.text);
    return texts;
  }

  OrdinaryUser user;
  HostMachine host;  // whose log is on in all tests
  std::optional<LttngDaemon> daemon;
};

TEST_F(Lttng, ASessionHasTheLinesWhileItIsOnUntilItsDaemonDies) {
  AttachTrace();
  EXPECT_FALSE(IsTraceEnabled());
  for (const char* const line : {"one", "two"}) {
    LogTrace("Off before ", line);
    daemon->Start();
    WaitUntilEnabled(true);
    LogTrace(line);
    daemon->Stop();
    WaitUntilEnabled(false);
  }
  EXPECT_THAT(Texts(), ElementsAre("TRACE: one", "TRACE: two"));
  daemon->Start();
  WaitUntilEnabled(true);
  daemon->End(SIGKILL);
  WaitUntilEnabled(false);
  LogTrace("three");
}

TEST_F(Lttng, EachThreadsLinesAreWholeAndInOrderUpTo64KiB) {
  daemon->Start();
  AttachTrace();
  constexpr int kThreads = 8;
  constexpr int kLines = 500;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread] {
      for (int line = 0; line < kLines; ++line) LogTrace("Line ", line, " of thread ", thread);
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::string longest(64 * 1024 - 1, 'x');
  TraceOut(longest.c_str());
  TraceOut((longest + "x").c_str());
  TraceOut("last");
  daemon->Stop();

  std::vector<std::string> texts = Texts();
  ASSERT_EQ(texts.size(), kThreads * kLines + 3);
  EXPECT_EQ(texts.back(), "last");
  EXPECT_THAT(texts.end()[-2], testing::HasSubstr("{ size = 65537 }"));
  EXPECT_TRUE(texts.end()[-3] == longest);
  std::vector<int> next(kThreads, 0);
  for (std::size_t i = 0; i < kThreads * kLines; ++i) {
    const auto thread = static_cast<std::size_t>(texts[i].back() - '0');
    EXPECT_EQ(texts[i], "TRACE: Line " + std::to_string(next.at(thread)++) + " of thread " +
                            std::to_string(thread));
  }
}

// Returns 0 if the child was in the session, or wasn't, as it should be.
int ForkWhileTraced(bool isFollowed) {
  AttachTrace();
  LogTrace("Before");
  const pid_t child = fork();
  if (child == 0) {
    while (isFollowed && !IsTraceEnabled()) std::this_thread::yield();
    const bool isAsExpected = IsTraceEnabled() == isFollowed;
    LogTrace("In the child");
    DetachTrace();  // doesn't wait for the parent's thread
    exit(isAsExpected ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  LogTrace("After");
  DetachTrace();
  return status;
}

// Runs this program again: liblttng-ust-fork.so must be preloaded, and the daemon doesn't stand it.
TEST_F(Lttng, AForkedChildIsInTheSessionIfLttngFollowsForks) {
  if (const char* const isFollowed = getenv(kIsFollowed)) {
    EXPECT_EQ(ForkWhileTraced(*isFollowed == '1'), 0);
    return;
  }
  daemon->Start();
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string() +
                           " --gtest_filter=*IfLttngFollowsForks";
  EXPECT_EQ(std::system((kIsFollowed + ("=0 " + self)).c_str()), 0);
  EXPECT_EQ(std::system((kIsFollowed + ("=1 LD_PRELOAD=liblttng-ust-fork.so.1 " + self)).c_str()),
            0);
  daemon->Stop();
  EXPECT_THAT(Texts(), ElementsAre("TRACE: Before", "TRACE: After", "TRACE: Before",
                                   "TRACE: In the child", "TRACE: After"));
}

TEST_F(Lttng, AForkedChildExitsWhateverTheParentsThreadsDid) {
  daemon->Start();
  AttachTrace();
  std::atomic<bool> isDone{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      while (!isDone) LogTrace("Busy");
    });
  }
  for (int i = 0; i < 20; ++i) {
    const pid_t child = fork();
    if (child == 0) exit(IsTraceEnabled() ? 1 : 0);
    EXPECT_EQ(WaitForChild(child), 0);
  }
  isDone = true;
  for (std::thread& thread : threads) thread.join();
  daemon->Stop();
}

TEST_F(Lttng, ASessionThatIsOnEarlierHasTheLinesOfAWholeLife) {
  daemon->Start();
  AttachTrace();
  LiveGoldenSession(host);
  daemon->Stop();

  const std::string golden = ContentOf(LARDER_TEST_GOLDEN "/session.txt");
  EXPECT_EQ(host.LogText(), golden);
  std::string traced;
  for (const TracedLine& line : daemon->Lines()) {
    if (line.thread == getpid()) traced += line.text + "\n";
  }
  traced.erase(0, traced.find("TRACE: Entering LarderInit()"));
  EXPECT_EQ(host.Neutral(traced), golden);
}

// The library itself, in a folder of its own; each part in a process that hasn't loaded LTTng.
class LttngLibrary : public Lttng {
 protected:
  static constexpr char kObject[] = "liblarder-lttng.so";

  LttngLibrary() {
    host.AddProvider("FeedTest", "feed-test.dll");
    std::filesystem::copy_file(LARDER_LIBRARY, library);
  }

  // Loads, uses and unloads the library. Returns the number of threads while it was loaded, or -1.
  int LiveOnce() const {
    void* const module = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) return -1;
    const auto init = reinterpret_cast<decltype(&LarderInit)>(dlsym(module, "LarderInit"));
    const auto release = reinterpret_cast<decltype(&LarderRelease)>(dlsym(module, "LarderRelease"));
    LarderHandle handle = nullptr;
    const bool isGood = init(UnexpectedCall, &handle) == LARDER_OK && release() == LARDER_OK;
    const std::size_t threads = tool::CountThreads();
    dlclose(module);
    return isGood && !IsModuleLoaded(library) ? static_cast<int>(threads) : -1;
  }

  const std::filesystem::path folder = host.machine.Folder();
  const std::filesystem::path library = folder / "liblarder.so";
};

TEST_F(LttngLibrary, LivesWithoutItsObjectAndWithAFileThatIsntOne) {
  const std::filesystem::path bin = std::filesystem::path(LARDER_LIBRARY).parent_path();
  const std::string object = ContentOf(bin / kObject);
  const std::vector<std::string> others = {"text", object.substr(0, 8192),
                                           ContentOf(folder / "feed-test.dll")};
  EXPECT_EQ(RunInChild([&] { return LiveOnce(); }), 1);
  for (const std::string& content : others) {
    std::ofstream(folder / kObject) << content;
    EXPECT_EQ(RunInChild([&] { return LiveOnce(); }), 1) << content.size() << " bytes";
  }
}

TEST_F(LttngLibrary, MayBeUnloadedWhileASessionIsOn) {
  std::filesystem::copy_file(std::filesystem::path(LARDER_LIBRARY).replace_filename(kObject),
                             folder / kObject);
  daemon->Start();
  EXPECT_EQ(RunInChild([&] {
              constexpr std::size_t kLttngs = 2;
              for (int life = 0; life < 2; ++life) {
                if (LiveOnce() != 2 + kLttngs || tool::CountThreads() != 1 + kLttngs) return 1;
              }
              return 0;
            }),
            0);
  daemon->Stop();
  const std::vector<std::string> texts = Texts();
  EXPECT_EQ(std::ranges::count(texts, "TRACE: Leaving LarderInit()"), 2);
}

}  // namespace
}  // namespace larder
