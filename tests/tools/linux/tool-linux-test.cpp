// What only a Linux machine has.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <thread>

#include "platform/event.h"
#include "platform/handle.h"
#include "platform/linux/child-process.h"
#include "testing/environment.h"
#include "tools/log-folder.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class ToolLinuxTest : public ToolTest {
 protected:
  static std::filesystem::path Root() { return std::getenv("LARDER_ROOT"); }

  // As a user that owns nothing. Gives the exit status; what was written is in the two files.
  int RunToolAsNobody(const Words& arguments) {
    CopyTool("bin");  // what was built may lie where nobody else comes in
    for (const auto& file : {output, errors}) {
      std::filesystem::permissions(MakeFile(file.filename(), ""), std::filesystem::perms::all);
    }
    return RunAsNobody([&] { return RunProgram(tool, arguments, output, errors); });
  }

  const std::filesystem::path output = machine.Folder() / "output";
  const std::filesystem::path errors = machine.Folder() / "errors";
};

TEST_F(ToolLinuxTest, AFullDiskIsAFailureWithAMessage) {
  RegisterModules({"feed-file.dll"});
  const std::string file = Utf8Of(MakeFile("abc", "abc"));
  for (const Words& arguments : {Words{"--help"}, {"query", file}, {"scan", file}}) {
    EXPECT_EQ(RunProgram(tool, arguments, "/dev/full", errors), 1) << arguments.front();
    EXPECT_EQ(ContentOf(errors),
              "larder: cannot write to standard output: No space left on device\n");
  }
}

TEST_F(ToolLinuxTest, NothingThatCouldBlockIsRead) {
  RegisterModules({"feed-file.dll"});
  const std::string fifo = InFolder("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0666), 0);
  EXPECT_EQ(MustFail({"query", fifo, "/dev/zero"}), "larder: " + fifo +
                                                        ": Generic error (-4)\n"
                                                        "larder: /dev/zero: Generic error (-4)\n");
}

class ScanLinuxTest : public ToolLinuxTest {
 protected:
  void Plant(const std::string& name) { MakeFile("tree/" + name, "abc"); }
  std::filesystem::path Tree() const { return machine.Folder() / "tree"; }
};

TEST_F(ScanLinuxTest, ItsListIsOneThatSha256sumAccepts) {
  RegisterModules({"feed-file.dll"});
  for (const char* name : {"plain", " two  blanks ", "line\nfeed", "return\r", "\x1B[1m", "*"})
    Plant(name);
  const std::string list = MustRun({"scan", Tree()});
  EXPECT_THAT(list, HasSubstr("/line\\nfeed\n"));
  MakeFile("list", list);
  EXPECT_EQ(
      RunProgram("/usr/bin/sha256sum", {"--check", "--strict", InFolder("list")}, output, errors),
      0);
  EXPECT_EQ(LinesOf(ContentOf(output)).size(), 6u) << ContentOf(output);
  EXPECT_EQ(ContentOf(errors), "");
}

TEST_F(ScanLinuxTest, NamesThatNoProviderCouldBeAskedAboutAreErrors) {
  RegisterModules({"feed-file.dll"});
  for (const char* name : {"back\\slash", "bad\xFF", "good"}) Plant(name);
  const ToolRun run = Run({"scan", Tree()}, 1);
  EXPECT_EQ(LinesOf(run.output).size(), 1u);
  EXPECT_THAT(run.errors, AllOf(HasSubstr("/tree/back\\slash: "), HasSubstr("1 error: "),
                                HasSubstr("/tree/bad\xFF: "), HasSubstr("(1113)\n")));
}

TEST_F(ScanLinuxTest, SpecialFilesAndLinksArePassedOver) {
  RegisterModules({"feed-file.dll"});
  Plant("file");
  ASSERT_EQ(mkfifo((Tree() / "fifo").c_str(), 0666), 0);
  std::filesystem::create_symlink("file", Tree() / "link");
  std::filesystem::create_symlink("nothing", Tree() / "dangling");
  EXPECT_THAT(LinesOf(MustRun({"scan", "--summary", Tree()})),
              testing::IsSupersetOf({"files       1", "links       2", "special     1"}));
  EXPECT_EQ(LinesOf(MustRun({"scan", Tree()})).size(), 1u);
}

TEST_F(ScanLinuxTest, AFolderThatMayNotBeReadIsNamedAndTheRestScanned) {
  RegisterModules({"feed-file.dll"});
  Plant("zzz");
  EXPECT_EQ(RunProgram("/bin/chmod", {"-R", "a+rwX", Root(), machine.Folder()}, output, errors), 0);
  std::filesystem::create_directory(Tree() / "secret");
  Plant("secret/inside");
  std::filesystem::permissions(Tree() / "secret", std::filesystem::perms::none);
  EXPECT_EQ(RunToolAsNobody({"scan", Tree()}), 1);
  EXPECT_THAT(ContentOf(output), testing::EndsWith("  " + (Tree() / "zzz").string() + "\n"));
  EXPECT_THAT(ContentOf(errors),
              StartsWith("larder: " + (Tree() / "secret").string() + ": Access is denied."));
}

// Nothing of the handler is left to run once the program doesn't catch the signal any more.
void WaitUntilNotCaught(long process, int number) {
  std::uint64_t caught = ~std::uint64_t{0};
  while ((caught >> (number - 1) & 1) != 0) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("SigCgt:")) caught = std::stoull(line.substr(7), nullptr, 16);
    }
    std::this_thread::yield();
  }
}

TEST_F(ScanLinuxTest, AnInterruptionEndsItAfterTheQueryThatIsRunning) {
  RegisterModules({"record-feed-1.dll"});
  for (const char* name : {"before", "staying", "x", "y"}) Plant(name);
  const auto events = machine.Folder() / "events";
  SetEnvironmentText("LARDER_FIXTURE_LOG", events);
  platform::Handle running = nullptr;
  platform::Handle goOn = nullptr;
  ASSERT_EQ(platform::MakeNamedEvent(u"QueryRunning", running), platform::kSuccess);
  ASSERT_EQ(platform::MakeNamedEvent(u"QueryGoOn", goOn), platform::kSuccess);
  const auto scan = Start({"scan", "--threads", "1", Tree()});
  std::size_t index = 0;
  ASSERT_EQ(platform::WaitForAny(&running, 1, index), platform::kSuccess);
  kill(static_cast<pid_t>(scan->ProcessId()), SIGINT);
  WaitUntilNotCaught(scan->ProcessId(), SIGINT);
  platform::RaiseEvent(goOn);
  EXPECT_EQ(scan->Wait(), 1);
  SetEnvironmentText("LARDER_FIXTURE_LOG", "");
  platform::CloseObject(running);
  platform::CloseObject(goOn);
  EXPECT_THAT(scan->ReadLine(), testing::Optional(HasSubstr("/before")));
  EXPECT_THAT(scan->ReadLine(), testing::Optional(HasSubstr("/staying")));
  EXPECT_EQ(scan->ReadLine(), std::nullopt);
  EXPECT_EQ(ErrorsOfStarted(), "larder: interrupted: 2 files, 6 bytes, 0 errors so far\n");
  const std::string life = "record-feed-1 ";
  EXPECT_EQ(ContentOf(events), life + "created\n" + life + "query\n" + life + "free\n" + life +
                                   "query\n" + life + "free\n" + life + "destroyed\n");
}

TEST_F(ScanLinuxTest, ATerminalGetsABarThatIsErasedAtTheEnd) {
  RegisterModules({"feed-file.dll"});
  Plant("file");
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0);
  const winsize size{24, 30, 0, 0};
  EXPECT_EQ(ioctl(terminal, TIOCSWINSZ, &size), 0);
  EXPECT_EQ(RunProgram(tool, {"scan", Tree()}, output, ptsname(terminal)), 0);
  char bytes[4096];
  const ssize_t got = read(terminal, bytes, sizeof bytes);
  close(terminal);
  ASSERT_GT(got, 0);
  const std::string shown(bytes, static_cast<std::size_t>(got));
  // The one while the files are still counted, or the one afterwards.
  EXPECT_THAT(shown, AllOf(StartsWith("\r"),
                           testing::AnyOf(HasSubstr(" files  "), HasSubstr("[##########] 100%"),
                                          HasSubstr("[----------] 0%"))));
  EXPECT_THAT(shown, testing::EndsWith("\r" + std::string(29, ' ') + "\r"));
  EXPECT_THAT(ContentOf(output), testing::EndsWith("/tree/file\n"));
}

TEST_F(ToolLinuxTest, AnArgumentThatIsNoUtf8IsNamed) {
  const std::string bytes = "caf\xE9";
  for (const Words& words : {Words{bytes, "b", "c"}, {"a", bytes, "c"}, {"a", "b", bytes}}) {
    EXPECT_THAT(MustFail({"registry", "set", words[0], words[1], words[2]}, 2), HasSubstr(bytes));
  }
  RegisterModules({"feed-file.dll"});
  const ToolRun run = Run({"query", "--json", bytes}, 1);
  EXPECT_THAT(run.errors, AllOf(StartsWith("larder: " + bytes + ": "), HasSubstr("(1113)")));
  EXPECT_THAT(run.output, StartsWith("{\"path\":\"caf\xEF\xBF\xBD\",\"lastModified\":0,"));
  EXPECT_THAT(run.output, HasSubstr("\"result\":null,\"error\":\""));
}

TEST_F(ToolLinuxTest, ADamagedValueIsToldAndTheRestListed) {
  MustRun({"registry", "set", "Install", "damaged", "1"});
  MustRun({"registry", "set", "Install", "whole", "2"});
  for (const auto& entry : std::filesystem::recursive_directory_iterator(Root())) {
    const bool isIt = entry.path().filename().string().find("damaged") != std::string::npos;
    if (isIt) std::ofstream(entry.path(), std::ios::trunc) << "x";
  }
  const ToolRun run = Run({"registry", "list"}, 1);
  EXPECT_THAT(run.errors,
              AllOf(StartsWith("larder: cannot read value \"damaged\" of key \"Install\": "),
                    HasSubstr("(1015)")));
  EXPECT_EQ(run.output, "Install\nInstall\twhole\tREG_SZ\t2\n");
}

TEST_F(ToolLinuxTest, WhatWaitsEndsWellWhenItIsInterrupted) {
  RegisterModules({"feed-file.dll"});
  LogFolder logs(LogsPath());
  logs.WriteBytes("lr_tool-A.log", "waiting\r\ncut");
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

TEST_F(ToolLinuxTest, AnEventThatCannotBeRaisedIsToldAfterTheMessageWasWritten) {
  const auto events = Root() / "run/larder/events";
  std::filesystem::create_directories(events.parent_path());
  std::filesystem::create_symlink("events", events);  // leads to itself
  for (const char* argument : {"upgrade", "--reset"}) {
    EXPECT_THAT(MustFail({"notify", argument}),
                AllOf(StartsWith("larder: cannot "), HasSubstr(" event \"InstallerEvent\": ")))
        << argument;
  }
  EXPECT_EQ(MustRun({"registry", "get", "Install", "szMessage"}), "upgrade\n");
}

TEST_F(ToolLinuxTest, AMachineWithoutLogsIsLeftAsItIs) {
  const std::string logs = Root() / "var/lib/Velmor/Larder/logs/";
  EXPECT_EQ(MustRun({"log", "path"}), logs + "\n");
  EXPECT_EQ(MustRun({"log", "list"}), "");
  EXPECT_EQ(MustFail({"log", "show"}), "larder: there is no log in " + logs + "\n");
  EXPECT_FALSE(std::filesystem::exists(Root() / "var/lib/Velmor"));
}

TEST_F(ToolLinuxTest, AFolderThatCannotBeFoundOrReadIsTold) {
  const auto logs = LogsPath();
  std::filesystem::create_directories(logs.parent_path());
  std::filesystem::create_symlink("logs", logs);  // leads to itself
  for (const char* command : {"list", "show"}) {
    EXPECT_THAT(MustFail({"log", command}),
                StartsWith("larder: cannot list " + logs.string() + "/: "));
  }
  std::filesystem::remove_all(Root() / "var");
  std::ofstream(Root() / "var") << "in the way";
  for (const char* command : {"path", "list", "show"}) {
    EXPECT_THAT(MustFail({"log", command}),
                StartsWith("larder: cannot find the machine's data folder: "));
  }
}

TEST_F(ToolLinuxTest, AGenerationThatCannotBeReadIsToldAndTheOthersPrinted) {
  LogFolder logs(LogsPath());
  logs.Write("lr_tool-A.log", {"new"});
  logs.Write("lr_tool-A.log.2", {"old"});
  std::filesystem::create_symlink("lr_tool-A.log.1", logs.Path() / "lr_tool-A.log.1");
  for (const Words& arguments : {Words{"log", "list"}, {"log", "show", "lr_tool-A.log"}}) {
    const ToolRun run = Run(arguments, 1);
    EXPECT_THAT(LinesOf(run.errors),
                testing::ElementsAre(StartsWith("larder: cannot read " + logs.Path().string() +
                                                "/lr_tool-A.log.1: ")));
    EXPECT_EQ(LinesOf(run.output).size(), 2) << run.output;
  }
}

TEST_F(ToolLinuxTest, LinesThatWereRotatedAwayUnreadAreToldAsLost) {
  LogFolder logs(LogsPath());
  logs.Write("lr_tool-A.log", {"line 0"});
  const auto program = Start({"log", "show", "--follow"});
  EXPECT_EQ(program->ReadLine(), "line 0");
  const auto child = static_cast<pid_t>(program->ProcessId());
  kill(child, SIGSTOP);
  siginfo_t stopped;
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &stopped, WSTOPPED), 0);
  logs.Append("lr_tool-A.log", "line 1");  // the file is held open, so this one isn't lost
  for (int i = 2; i <= 9; ++i) logs.Rotate("lr_tool-A.log", "line " + std::to_string(i));
  kill(child, SIGCONT);
  for (const int number : {1, 4, 5, 6, 7, 8, 9}) {
    EXPECT_EQ(program->ReadLine(), "line " + std::to_string(number));
  }
  EXPECT_EQ(program->Stop(), 1);
  EXPECT_THAT(ErrorsOfStarted(), HasSubstr("lr_tool-A.log was rotated faster than it could be "
                                           "printed: lines are lost\n"));
}

TEST_F(ToolLinuxTest, ASetUpThatCannotBeWrittenIsAFailureWithTheReason) {
  const auto software = Root() / "etc/larder/registry/Software";
  std::filesystem::create_directories(software);
  std::ofstream(software / "Velmor") << "in the way";
  EXPECT_THAT(MustFail({"setup"}),
              AllOf(HasSubstr("larder: cannot set value \"szDLL\" of key \"DataProviders"),
                    HasSubstr("larder: RegCreateKeyEx failed for \"DataProviders\\FeedTest\": ")));
}

TEST_F(ToolLinuxTest, ADirectoryThatThisUserMayNotDeleteIsAFailureWithTheReason) {
  LogFolder logs(LogsPath());
  logs.Write("lr_tool-A.log", {"line"});
  EXPECT_EQ(RunToolAsNobody({"remove", "--data", "--yes"}), 1);
  EXPECT_EQ(ContentOf(errors), "larder: cannot delete all of the data directory " +
                                   Utf8Of(Root() / "var/lib/Velmor/Larder/") +
                                   "\nlarder: SHFileOperation() failed: 5\n");
  EXPECT_TRUE(std::filesystem::exists(logs.Path() / "lr_tool-A.log"));
}

}  // namespace
}  // namespace larder
