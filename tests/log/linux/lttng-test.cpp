// The trace session of Linux: the library's lines in a session of LTTng's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/host-machine.h"
#include "log/linux/lttng-daemon.h"
#include "log/log-statement.h"
#include "log/trace-session.h"
#include "testing/files.h"

namespace larder {
namespace {

using testing::ElementsAre;

class Lttng : public testing::Test {
 protected:
  void SetUp() override {
    if (!LttngDaemon::IsInstalled()) GTEST_SKIP() << "lttng-tools or babeltrace2 isn't installed";
    daemon.emplace(host.machine.Folder());
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

TEST_F(Lttng, AForkedChildIsInNoSession) {
  daemon->Start();
  AttachTrace();
  LogTrace("Before");
  const pid_t child = fork();
  if (child == 0) {
    const bool isEnabled = IsTraceEnabled();
    LogTrace("In the child");
    DetachTrace();  // waits for no thread
    exit(isEnabled ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  LogTrace("After");
  daemon->Stop();
  EXPECT_THAT(Texts(), ElementsAre("TRACE: Before", "TRACE: After"));
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

}  // namespace
}  // namespace larder
