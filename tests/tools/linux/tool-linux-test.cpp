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

std::ptrdiff_t CountOf(const std::string& text, const std::string& part) {
  std::ptrdiff_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; ++at) ++count;
  return count;
}

// The provider's query of "staying" never returns.
TEST_F(ToolLinuxTest, AQueryThatTakesLongEndsWithTheProgramWhenItIsInterrupted) {
  InstallModules({"record-feed.dll"});
  for (const char* name : {"before", "staying", "x"}) MakeFile("tree/" + std::string(name), "abc");
  SetEnvironmentText("LARDER_FIXTURE_LOG", machine.Folder() / "events");
  const auto scan = Start({"scan", "--threads", "2", "tree"});
  SetEnvironmentText("LARDER_FIXTURE_LOG", "");
  while (CountOf(ContentOf("events"), "query") != 3 || CountOf(ContentOf("events"), "free") != 2) {
    std::this_thread::yield();
  }
  kill(static_cast<pid_t>(scan->ProcessId()), SIGINT);
  EXPECT_EQ(scan->Wait(), 1);
  EXPECT_THAT(scan->ReadLine(), Optional(HasSubstr("tree/before")));
  EXPECT_THAT(scan->ReadLine(), Optional(HasSubstr("tree/x")));
  EXPECT_EQ(scan->ReadLine(), std::nullopt);
  EXPECT_EQ(ErrorsOfStarted(), "larder: interrupted: 2 files, 6 bytes, 0 errors so far\n");

  const auto query = Start({"query", "before", "staying"});
  EXPECT_EQ(query->ReadLine(), "file        before");
  kill(static_cast<pid_t>(query->ProcessId()), SIGINT);
  EXPECT_EQ(query->Wait(), -SIGINT);
}

class Terminal {
 public:
  Terminal() {
    const winsize size{24, 30, 0, 0};
    EXPECT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
    EXPECT_EQ(ioctl(master, TIOCSWINSZ, &size), 0);
    slave = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
  }
  ~Terminal() {
    close(slave);
    close(master);
  }

  std::filesystem::path Path() const { return ptsname(master); }

  // What was written since the last call; all of it, because the programs have ended.
  std::string TakeShown() const {
    char bytes[4096];
    const ssize_t got = read(master, bytes, sizeof bytes);
    return {bytes, got > 0 ? static_cast<std::size_t>(got) : 0};
  }

 private:
  int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
  int slave = -1;  // keeps the terminal while no program has it open
};

TEST_F(ToolLinuxTest, ATerminalGetsABarThatIsErasedAtTheEnd) {
  InstallModules({"feed-file.dll"});
  MakeFile("tree/file", "abc");
  const Terminal terminal;
  EXPECT_EQ(RunningProgram(tool, {"scan", "tree"}, {terminal.Path(), "output", {}}).Wait(), 0);
  const std::string shown = terminal.TakeShown();
  // While the files are still counted, or afterwards.
  EXPECT_THAT(shown, AnyOf(HasSubstr(" files  "), HasSubstr("[##########] 100%"),
                           HasSubstr("[----------] 0%")));
  EXPECT_THAT(shown, StartsWith("\r"));
  EXPECT_THAT(shown, EndsWith("\r" + std::string(29, ' ') + "\r"));
  EXPECT_THAT(ContentOf("output"), EndsWith("  tree/file\n"));
}

TEST_F(ToolLinuxTest, ATerminalGetsNoControlCharactersAndAFileGetsEveryByte) {
  InstallModules({"feed-file.dll"});
  const std::string name = "tree/\x1B]\xC2\x9B\x7F\xD8\x9C\xE2\x80\xAE\xC3\xA4";
  const std::string shown = "tree/\xE2\x90\x9B]\\u009b\\u007f\\u061c\\u202e\xC3\xA4";
  std::string inJson = shown;
  inJson.replace(inJson.find("\xE2\x90\x9B"), 3, "\\u001b");
  MakeFile(name, "abc");
  MakeLog("lr_A.log", "\t\x1B[2J \xFF\xED\xA0\x80 \xE2\x81\xA6\r\n");
  const std::string key = "\xE2\x80\x8F\x1B";
  MustRun({"registry", "set", "DataProviders\\" + key, "other", ""});
  const std::pair<Words, std::string> cases[] = {
      {{"scan", "tree"}, "  " + shown + "\r\n"},
      {{"scan", "tree", "--json"}, inJson},
      {{"query", name}, "file        " + shown + "\r\n"},
      {{"query", "--json", name}, inJson},
      {{"status"}, "provider    \\u200f\xE2\x90\x9B\r\n"},
      {{"status", "--json"}, "\"key\":\"\\u200f\\u001b\""},
      {{"log", "show"}, "\t\xE2\x90\x9B[2J \\xff\\xed\\xa0\\x80 \\u2066\r\n"}};
  const Terminal terminal;
  for (const auto& [arguments, expected] : cases) {
    RunningProgram(tool, arguments, {"errors", terminal.Path(), {}}).Wait();
    EXPECT_THAT(terminal.TakeShown(), HasSubstr(expected)) << arguments.front();
  }
  EXPECT_THAT(MustRun({"scan", "tree"}), EndsWith("  " + name + "\n"));
}

}  // namespace
}  // namespace larder
