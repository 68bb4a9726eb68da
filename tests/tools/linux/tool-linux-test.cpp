// Signals and a terminal.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "testing/process.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Optional;
using testing::StartsWith;

using ToolLinuxTest = ToolTest;

TEST_F(ToolLinuxTest, WhatWaitsEndsWellWhenItIsInterrupted) {
  InstallModules({"feed-file.dll"});
  MakeLog("lr_A.log", "waiting\r\ncut");
  const std::vector<std::pair<Words, std::optional<std::string>>> waiting = {
      {{"notify", "--wait"}, std::nullopt}, {{"log", "show", "--follow"}, "cut"}};
  for (const int number : {SIGINT, SIGTERM}) {
    for (const auto& [arguments, rest] : waiting) {
      const auto program = Start(arguments);
      EXPECT_EQ(program->ReadLine(), "waiting");
      kill(static_cast<pid_t>(program->ProcessId()), number);
      EXPECT_EQ(program->Wait(), 0) << arguments.front() << number;
      EXPECT_EQ(ErrorsOfStarted(), "");
      EXPECT_EQ(program->ReadLine(), rest);
      EXPECT_EQ(program->ReadLine(), std::nullopt);
    }
  }
}

// The handler resets the signal's action, so what it had to do before is done then.
void WaitUntilNotCaught(long process, int number) {
  std::uint64_t caught = ~std::uint64_t{0};
  for (; (caught >> (number - 1) & 1) != 0; std::this_thread::yield()) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("SigCgt:")) caught = std::stoull(line.substr(7), nullptr, 16);
    }
  }
}

TEST_F(ToolLinuxTest, AScanEndsAfterTheRunningQueryWhenItIsInterrupted) {
  InstallModules({"record-feed.dll"});
  for (const char* name : {"before", "staying", "x", "y"}) {
    MakeFile("tree/" + std::string(name), "abc");
  }
  SetEnvironmentText("LARDER_FIXTURE_LOG", machine.Folder() / "events");
  const auto scan = Start({"scan", "--threads", "1", "tree"});
  SetEnvironmentText("LARDER_FIXTURE_LOG", "");
  const std::string life = "record-feed ";
  const std::string begun =
      life + "created\n" + life + "query\n" + life + "free\n" + life + "query\n";
  while (ContentOf("events") != begun) std::this_thread::yield();
  kill(static_cast<pid_t>(scan->ProcessId()), SIGINT);
  WaitUntilNotCaught(scan->ProcessId(), SIGINT);
  MakeFile("go-on", "");
  EXPECT_EQ(scan->Wait(), 1);
  EXPECT_THAT(scan->ReadLine(), Optional(HasSubstr("tree/before")));
  EXPECT_THAT(scan->ReadLine(), Optional(HasSubstr("tree/staying")));
  EXPECT_EQ(scan->ReadLine(), std::nullopt);
  EXPECT_EQ(ErrorsOfStarted(), "larder: interrupted: 2 files, 6 bytes, 0 errors so far\n");
  EXPECT_EQ(ContentOf("events"), begun + life + "free\n" + life + "destroyed\n");
}

TEST_F(ToolLinuxTest, ATerminalGetsABarThatIsErasedAtTheEnd) {
  InstallModules({"feed-file.dll"});
  MakeFile("tree/file", "abc");
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0);
  const winsize size{24, 30, 0, 0};
  EXPECT_EQ(ioctl(terminal, TIOCSWINSZ, &size), 0);
  EXPECT_EQ(RunningProgram(tool, {"scan", "tree"}, {ptsname(terminal), "output", {}}).Wait(), 0);
  char bytes[4096];
  const ssize_t got = read(terminal, bytes, sizeof bytes);
  close(terminal);
  ASSERT_GT(got, 0);
  const std::string shown(bytes, static_cast<std::size_t>(got));
  // While the files are still counted, or afterwards.
  EXPECT_THAT(shown, AnyOf(HasSubstr(" files  "), HasSubstr("[##########] 100%"),
                           HasSubstr("[----------] 0%")));
  EXPECT_THAT(shown, StartsWith("\r"));
  EXPECT_THAT(shown, EndsWith("\r" + std::string(29, ' ') + "\r"));
  EXPECT_THAT(ContentOf("output"), EndsWith("  tree/file\n"));
}

}  // namespace
}  // namespace larder
