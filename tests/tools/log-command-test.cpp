#include <gmock/gmock.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <regex>
#include <thread>

#include "tools/log-folder.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using testing::Truly;

constexpr const char* kRun = "lr_tool-A.log";
constexpr const char* kOtherRun = "lr_tool-B.log";

class LogCommandTest : public ToolTest {
 protected:
  LogCommandTest() : logs(PathOf(LinesOf(MustRun({"log", "path"})).front())) {}

  // The lines of a list that tell of the test's own files.
  std::vector<std::string> ListOwn() {
    std::vector<std::string> lines = LinesOf(MustRun({"log", "list"}));
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("lr_tool-"); });
    return lines;
  }

  // A run with all its generations; line N is in generation N.
  void MakeChain(const std::string& name) {
    logs.Write(name, {"line 0", "and the last"});
    for (int i = 1; i <= 5; ++i) {
      logs.Write(name + "." + std::to_string(i), {"line " + std::to_string(i)});
    }
  }

  LogFolder logs;
};

TEST_F(LogCommandTest, TheSwitchDecidesWhetherAHostWritesALog) {
  RegisterModules({"feed-file.dll"});
  const std::string file = Utf8Of(MakeFile("abc", "abc"));
  MustRun({"query", file});
  EXPECT_THAT(logs.ToolLogs(), IsEmpty());
  EXPECT_EQ(MustRun({"log", "on"}), "");
  EXPECT_EQ(MustRun({"registry", "get", "Logging", "szEnable"}), "true\n");
  MustRun({"query", file});
  ASSERT_THAT(logs.ToolLogs(), SizeIs(1));
  EXPECT_EQ(MustRun({"log", "off"}), "");
  EXPECT_EQ(Run({"registry", "get", "Logging", "szEnable"}).status, 1);
  MustRun({"query", file});
  EXPECT_THAT(logs.ToolLogs(), SizeIs(1));
  const std::string name = Utf8Of(logs.ToolLogs().front().filename());
  const auto lines = LinesOf(MustRun({"log", "show", name}));
  EXPECT_THAT(lines, Contains(EndsWith(" initialized Larder version 1.0.0.298, ref count 1")));
  const std::regex form(R"(\d\d/\d\d/\d\d \d\d:\d\d:\d\d: (TRACE| WARN|ERROR): .*)");
  EXPECT_THAT(lines, Each(Truly([&](const auto& line) { return std::regex_match(line, form); })));
}

TEST_F(LogCommandTest, ALogIsFollowedWhileItsHostWritesIt) {
  RegisterModules({"feed-file.dll"});
  MustRun({"log", "on"});
  const auto host = Start({"notify", "--wait", "--once"});
  const auto log = logs.WaitForToolLog("Leaving LarderInit()");
  RunningProgram program(ToolPath(), {"log", "show", Utf8Of(log.filename()), "--follow"},
                         machine.Folder() / "errors");
  std::optional<std::string> line;
  const auto readUpTo = [&](const char* text) {
    do {
      line = program.ReadLine();
    } while (line && line->find(text) == std::string::npos);
    EXPECT_TRUE(line) << text;
  };
  readUpTo("Leaving LarderInit()");
  MustRun({"notify", "upgrade"});
  readUpTo("Calling callback with 0");
  readUpTo("Last ref released, handle destroyed");
  EXPECT_EQ(host->Wait(), 0);
  MustRun({"notify", "--reset"});
}

TEST_F(LogCommandTest, AStartThatFailsLeavesAWholeLog) {
  RegisterModules({});
  MustRun({"registry", "set", "DataProviders\\A", "szDLL", LogFolder::kMissingModule});
  EXPECT_THAT(Run({"query", "file"}).errors, HasSubstr("\"larder log on\""));
  MustRun({"log", "on"});
  for (std::size_t runs = 1; runs <= 3; ++runs) {
    const ToolRun run = Run({"query", "file"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.errors, AllOf(StartsWith("larder: cannot start the library: "),
                                  EndsWith("\"larder log show\" tells more\n")));
    ASSERT_THAT(logs.ToolLogs(), SizeIs(runs));
  }
  for (const auto& log : logs.ToolLogs()) {
    EXPECT_THAT(ContentOf(log), AllOf(HasSubstr("ERROR: Fatal error in LarderInit "),
                                      HasSubstr("Failed to load dll"),
                                      EndsWith("TRACE: Leaving LarderInit()\r\n")));
  }
}

TEST_F(LogCommandTest, ThePathIsWrittenAsTheSystemWritesIt) {
  const std::string path = LinesOf(MustRun({"log", "path"})).front();
  EXPECT_EQ(path, Utf8Of(PathOf(path).make_preferred()));
  EXPECT_TRUE(PathOf(path).is_absolute());
  EXPECT_EQ(PathOf(path), PathOf(path).parent_path() / "");
}

TEST_F(LogCommandTest, SwitchingTwiceIsFine) {
  MustRun({"log", "off"});
  MustRun({"log", "on"});
  MustRun({"log", "on"});
  EXPECT_EQ(MustRun({"registry", "get", "Logging", "szEnable"}), "true\n");
  MustRun({"log", "off"});
  MustRun({"log", "off"});
  EXPECT_EQ(Run({"registry", "get", "Logging", "szEnable"}).status, 1);
}

TEST_F(LogCommandTest, AnotherTextInTheSwitchIsReplaced) {
  for (const char* text : {"True", "true ", "1", ""}) {
    MustRun({"registry", "set", "Logging", "szEnable", text});
    MustRun({"log", "on"});
    EXPECT_EQ(MustRun({"registry", "get", "Logging", "szEnable"}), "true\n");
  }
  MustRun({"registry", "set", "Logging", "szEnable", "1", "--type", "REG_DWORD"});
  MustRun({"log", "on"});
  EXPECT_EQ(MustRun({"registry", "get", "Logging", "szEnable"}), "true\n");
}

TEST_F(LogCommandTest, ASwitchThatCannotBeSetIsToldWithTheReason) {
  machine.ForbidNewKeys();
  const ToolRun run = Run({"log", "on"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors,
              AllOf(StartsWith("larder: cannot set value \"szEnable\" of key \"Logging\": "),
                    EndsWith(")\n")));
}

TEST_F(LogCommandTest, FilesAreListedRunByRunTheNewestRunLast) {
  logs.Write(kRun, {"0123456789"}, 2103);
  logs.Write(std::string(kRun) + ".1", {"a"}, 2101);
  logs.Write(std::string(kRun) + ".2", {}, 2100);
  logs.Write(kOtherRun, {"ab"}, 2102);
  logs.Write(std::string(kOtherRun) + ".5", {"abc"}, 2099);
  logs.Write("lr_tool-C.log.1", {"abcd"}, 2104);  // its current file is gone
  EXPECT_THAT(ListOwn(), ElementsAre("lr_tool-B.log\t4\t2102-06-15T00:00:00Z",
                                     "lr_tool-B.log.5\t5\t2099-06-15T00:00:00Z",
                                     "lr_tool-A.log\t12\t2103-06-15T00:00:00Z",
                                     "lr_tool-A.log.1\t3\t2101-06-15T00:00:00Z",
                                     "lr_tool-A.log.2\t0\t2100-06-15T00:00:00Z",
                                     "lr_tool-C.log.1\t6\t2104-06-15T00:00:00Z"));
}

TEST_F(LogCommandTest, OnlyLogsAreListed) {
  for (const char* name :
       {"lr_tool-A.log.6", "lr_tool-A.log.10", "lr_tool-A.log.0", "lr_tool-A.tmp", "lr_tool-A.logs",
        "lr_tool-A.log.1.txt", "lr_tool-log"}) {
    logs.Write(name, {"no log"});
  }
  std::filesystem::create_directory(logs.Path() / "lr_tool-D.log");
  EXPECT_THAT(ListOwn(), IsEmpty());
}

TEST_F(LogCommandTest, ARunIsShownFromItsOldestGenerationToItsNewest) {
  MakeChain(kRun);
  logs.Write(kOtherRun, {"another run"}, 2099);
  const std::string lines = "line 5\nline 4\nline 3\nline 2\nline 1\nline 0\nand the last\n";
  EXPECT_EQ(MustRun({"log", "show"}), lines);
  EXPECT_EQ(MustRun({"log", "show", kRun}), lines);
  EXPECT_EQ(MustRun({"log", "show", Utf8Of(logs.Path() / kRun)}), lines);
  EXPECT_EQ(MustRun({"log", "show", kOtherRun}), "another run\n");
  EXPECT_EQ(MustRun({"log", "show", std::string(kRun) + ".2"}), "line 2\n");
}

TEST_F(LogCommandTest, AFeedsLogIsListedButIsNoRunOfAHost) {
  logs.Write(kRun, {"the run"}, 2100);
  logs.Write("feedf_tool-A.log", {"the feed's"}, 2101);
  EXPECT_THAT(LinesOf(MustRun({"log", "list"})).back(), StartsWith("feedf_tool-A.log\t"));
  EXPECT_EQ(MustRun({"log", "show"}), "the run\n");
  EXPECT_EQ(MustRun({"log", "show", "feedf_tool-A.log"}), "the feed's\n");
}

TEST_F(LogCommandTest, MissingGenerationsAreSkipped) {
  MakeChain(kRun);
  std::filesystem::remove(logs.Path() / kRun);
  std::filesystem::remove(logs.Path() / (std::string(kRun) + ".3"));
  EXPECT_EQ(MustRun({"log", "show", kRun}), "line 5\nline 4\nline 2\nline 1\n");
}

TEST_F(LogCommandTest, BytesStandAsTheyAreButForTheLineEnds) {
  const std::string strange("\x1B[0m \0 \r \xFF \t", 13);
  const std::string wide(65535, 'x');  // the CR is the last byte of a large block, the LF the next
  logs.WriteBytes(kRun, strange + "\r\n" + "bare\n\r\n\n" + wide + "\r\n" + wide + "\r\nend");
  logs.WriteBytes(std::string(kRun) + ".1", "cut short");
  logs.WriteBytes(std::string(kRun) + ".2", "");
  EXPECT_EQ(MustRun({"log", "show", kRun}),
            "cut short\n" + strange + "\nbare\n\n\n" + wide + "\n" + wide + "\nend\n");
  logs.WriteBytes(kOtherRun, wide + "\r\n");
  EXPECT_EQ(MustRun({"log", "show", kOtherRun}), wide + "\n");
}

TEST_F(LogCommandTest, ALogThatIsNotThereIsNamed) {
  for (const char* argument : {"lr_tool-none.log", "lr_tool-A"}) {
    for (const char* follow : {"", "--follow"}) {
      std::vector<std::string> arguments{"log", "show", argument};
      if (*follow != '\0') arguments.emplace_back(follow);
      const ToolRun run = Run(arguments);
      EXPECT_EQ(run.status, 1);
      EXPECT_EQ(run.output, "");
      EXPECT_THAT(run.errors, AllOf(StartsWith("larder: cannot read "),
                                    EndsWith(std::string(argument) + ": there is no such log\n")));
    }
  }
  const ToolRun run = Run({"log", "show", Utf8Of(machine.Folder())});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, HasSubstr(": it is no file\n"));
}

TEST_F(LogCommandTest, FollowingGoesOnAcrossRotations) {
  logs.Write(std::string(kRun) + ".1", {"line 1"});
  logs.Write(kRun, {"line 2"});
  const auto program = Start({"log", "show", "--follow"});
  EXPECT_EQ(program->ReadLine(), "line 1");
  EXPECT_EQ(program->ReadLine(), "line 2");
  logs.Append(kRun, "line 3");
  EXPECT_EQ(program->ReadLine(), "line 3");
  logs.Append(kRun, "line 4");
  logs.Rotate(kRun, "line 5");
  logs.Append(kRun, "line 6");
  EXPECT_EQ(program->ReadLine(), "line 4");
  EXPECT_EQ(program->ReadLine(), "line 5");
  EXPECT_EQ(program->ReadLine(), "line 6");
  logs.Append(kRun, "line 7");
  EXPECT_EQ(program->ReadLine(), "line 7");
  EXPECT_EQ(program->Stop().value_or(0), 0);
  EXPECT_EQ(program->ReadLine(), std::nullopt);
  EXPECT_EQ(ErrorsOfStarted(), "");
}

TEST_F(LogCommandTest, FollowingABusyHostNeitherLosesNorRepeatsALine) {
  constexpr int kLines = 400;
  constexpr int kMostUnread = 8;  // in fewer files than are kept
  logs.Write(kRun, {"line 0"});
  const auto program = Start({"log", "show", kRun, "--follow"});
  std::mutex mutex;
  std::condition_variable wasRead;
  int nextToRead = 0;
  std::thread host([&] {
    for (int i = 1; i < kLines; ++i) {
      std::unique_lock lock(mutex);
      wasRead.wait(lock, [&] { return i - nextToRead < kMostUnread; });
      lock.unlock();
      const std::string line = "line " + std::to_string(i);
      i % 2 == 0 ? logs.Rotate(kRun, line) : logs.Append(kRun, line);
    }
  });
  for (int i = 0; i < kLines; ++i) {
    EXPECT_EQ(program->ReadLine(), "line " + std::to_string(i));
    const std::lock_guard lock(mutex);
    ++nextToRead;
    wasRead.notify_one();
  }
  host.join();
  EXPECT_EQ(program->Stop().value_or(0), 0);
  EXPECT_EQ(program->ReadLine(), std::nullopt);
  EXPECT_EQ(ErrorsOfStarted(), "");
}

TEST_F(LogCommandTest, FollowingWaitsForTheRestOfALine) {
  logs.WriteBytes(kRun, "whole\r\nbeg");
  const auto program = Start({"log", "show", kRun, "--follow"});
  EXPECT_EQ(program->ReadLine(), "whole");
  logs.Append(kRun, "inning");
  EXPECT_EQ(program->ReadLine(), "beginning");
}

TEST_F(LogCommandTest, FollowingBeginsAnewWhenTheFileIsEmptied) {
  logs.Write(kRun, {"a line that is long"});
  const auto program = Start({"log", "show", kRun, "--follow"});
  EXPECT_EQ(program->ReadLine(), "a line that is long");
  logs.Write(kRun, {"short"});
  EXPECT_EQ(program->ReadLine(), "short");
  logs.Append(kRun, "next");
  EXPECT_EQ(program->ReadLine(), "next");
}

TEST_F(LogCommandTest, FollowingAFileThatIsDeletedGoesOnWithTheNextOne) {
  logs.Write(kRun, {"old"});
  const auto program = Start({"log", "show", kRun, "--follow"});
  EXPECT_EQ(program->ReadLine(), "old");
  std::filesystem::rename(logs.Path() / kRun, logs.Path() / "lr_tool-away");
  logs.Append(kRun, "new");
  EXPECT_EQ(program->ReadLine(), "new");
  EXPECT_EQ(program->Stop().value_or(0), 0);
  EXPECT_EQ(ErrorsOfStarted(), "");
}

TEST_F(LogCommandTest, NothingIsMadeChangedOrDeleted) {
  MakeChain(kRun);
  logs.Write(kOtherRun, {"another run"}, 1999);
  const auto before = logs.OwnFiles();
  ASSERT_THAT(before, SizeIs(7));
  MustRun({"log", "on"});
  MustRun({"log", "path"});
  MustRun({"log", "list"});
  MustRun({"log", "show"});
  const auto program = Start({"log", "show", "--follow"});
  EXPECT_EQ(program->ReadLine(), "line 5");
  program->Stop();
  MustRun({"log", "off"});
  EXPECT_EQ(logs.OwnFiles(), before);
}

TEST_F(LogCommandTest, AClosedPipeEndsTheFollowing) {
  logs.Write(kRun, {"line"});
  const auto errors = machine.Folder() / "errors";
  EXPECT_EQ(RunProgramIntoClosedPipe(ToolPath(), {"log", "show", kRun, "--follow"}, errors), 1);
  EXPECT_THAT(ContentOf(errors), StartsWith("larder: cannot write to standard output: "));
}

}  // namespace
}  // namespace larder
