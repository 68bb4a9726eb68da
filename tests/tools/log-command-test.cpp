#include <gmock/gmock.h>

#include <optional>

#include "tools/log-folder.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

const std::string kRun = "lr_tool-A.log";
const std::string kOtherRun = "lr_tool-B.log";
const Words kGetSwitch = {"registry", "get", "Logging", "szEnable"};

class LogCommandTest : public ToolTest {
 protected:
  LogFolder logs{LogsPath()};
};

TEST_F(LogCommandTest, TheSwitchDecidesWhetherAHostWritesALog) {
  RegisterModules({"feed-file.dll"});
  const std::string file = Utf8Of(MakeFile("abc", "abc"));
  MustRun({"query", file});
  EXPECT_THAT(logs.ToolLogs(), IsEmpty());
  EXPECT_EQ(MustRun({"log", "on"}), "");
  MustRun({"query", file});
  ASSERT_THAT(logs.ToolLogs(), SizeIs(1));
  EXPECT_EQ(MustRun({"log", "off"}), "");
  MustRun({"query", file});
  ASSERT_THAT(logs.ToolLogs(), SizeIs(1));
  EXPECT_THAT(MustList({"log", "show", Utf8Of(logs.ToolLogs().begin()->filename())}),
              Contains(EndsWith(" initialized Larder version 1.0.0.298, ref count 1")));
}

TEST_F(LogCommandTest, TheSwitchIsSetWhateverStoodThere) {
  MustRun({"log", "off"});
  for (const char* text : {"True", "true ", "1", "", "true"}) {
    MustRun({"registry", "set", "Logging", "szEnable", text});
    MustRun({"log", "on"});
    EXPECT_EQ(MustRun(kGetSwitch), "true\n");
  }
  MustRun({"registry", "set", "Logging", "szEnable", "1", "--type", "REG_DWORD"});
  MustRun({"log", "on"});
  EXPECT_EQ(MustRun(kGetSwitch), "true\n");
  MustRun({"log", "off"});
  MustFail(kGetSwitch);
}

TEST_F(LogCommandTest, ASwitchThatCannotBeSetIsToldWithTheReason) {
  machine.ForbidNewKeys();
  EXPECT_THAT(MustFail({"log", "on"}),
              AllOf(StartsWith("larder: cannot set value \"szEnable\" of key \"Logging\": "),
                    EndsWith(")\n")));
}

TEST_F(LogCommandTest, ALogIsFollowedWhileItsHostWritesIt) {
  RegisterModules({"feed-file.dll"});
  MustRun({"log", "on"});
  const auto host = Start({"notify", "--wait", "--once"});
  const auto log = logs.WaitForToolLog("Leaving LarderInit()");
  RunningProgram program(tool, {"log", "show", Utf8Of(log.filename()), "--follow"},
                         machine.Folder() / "errors");
  const auto readUpTo = [&](const std::string& text) {
    std::optional<std::string> line;
    while ((line = program.ReadLine()) && line->find(text) == std::string::npos) {
    }
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
  EXPECT_THAT(MustFail({"query", "file"}), HasSubstr("\"larder log on\""));
  MustRun({"log", "on"});
  EXPECT_THAT(MustFail({"query", "file"}), EndsWith("run \"larder log show\" for details\n"));
  ASSERT_THAT(logs.ToolLogs(), SizeIs(1));
  EXPECT_THAT(ContentOf(*logs.ToolLogs().begin()),
              AllOf(HasSubstr("ERROR: Fatal error in LarderInit "), HasSubstr("Failed to load dll"),
                    EndsWith("TRACE: Leaving LarderInit()\r\n")));
}

TEST_F(LogCommandTest, LogsAndNothingElseAreListedRunByRunTheNewestRunLast) {
  logs.Write(kRun, {"0123456789"}, 2103);
  logs.Write(kRun + ".1", {"a"}, 2101);
  logs.Write(kRun + ".2", {}, 2100);
  logs.Write(kOtherRun, {"ab"}, 2102);
  logs.Write(kOtherRun + ".5", {"abc"}, 2099);
  logs.Write("lr_tool-C.log.1", {"abcd"}, 2104);  // its current file is gone
  logs.Write("feedf_tool-A.log", {"a feed's"}, 2105);
  for (const char* end : {"A.log.6", "A.log.10", "A.log.0", "A.tmp", "A.logs", "A.log.1.txt"}) {
    logs.Write(std::string("lr_tool-") + end, {"no log"});
  }
  std::filesystem::create_directory(logs.Path() / "lr_tool-D.log");
  std::vector<std::string> lines = MustList({"log", "list"});
  std::erase_if(lines, [](const auto& line) { return line.find("_tool-") == std::string::npos; });
  EXPECT_THAT(lines, ElementsAre("lr_tool-B.log\t4\t2102-06-15T00:00:00Z",
                                 "lr_tool-B.log.5\t5\t2099-06-15T00:00:00Z",
                                 "lr_tool-A.log\t12\t2103-06-15T00:00:00Z",
                                 "lr_tool-A.log.1\t3\t2101-06-15T00:00:00Z",
                                 "lr_tool-A.log.2\t0\t2100-06-15T00:00:00Z",
                                 "lr_tool-C.log.1\t6\t2104-06-15T00:00:00Z",
                                 "feedf_tool-A.log\t10\t2105-06-15T00:00:00Z"));
}

TEST_F(LogCommandTest, ARunIsShownFromItsOldestGenerationToItsNewest) {
  logs.Write(kRun, {"line 0", "and the last"});
  for (const std::string number : {"1", "2", "3", "4", "5"}) {
    logs.Write(kRun + "." + number, {"line " + number});
  }
  logs.Write(kOtherRun, {"another run"}, 2099);
  logs.Write("feedf_tool-A.log", {"no run of a host"}, 2101);
  const std::string lines = "line 5\nline 4\nline 3\nline 2\nline 1\nline 0\nand the last\n";
  EXPECT_EQ(MustRun({"log", "show"}), lines);
  EXPECT_EQ(MustRun({"log", "show", kRun}), lines);
  EXPECT_EQ(MustRun({"log", "show", Utf8Of(logs.Path() / kRun)}), lines);
  EXPECT_EQ(MustRun({"log", "show", kOtherRun}), "another run\n");
  EXPECT_EQ(MustRun({"log", "show", kRun + ".2"}), "line 2\n");
  EXPECT_EQ(MustRun({"log", "show", "feedf_tool-A.log"}), "no run of a host\n");
  std::filesystem::remove(logs.Path() / kRun);
  std::filesystem::remove(logs.Path() / (kRun + ".3"));
  EXPECT_EQ(MustRun({"log", "show", kRun}), "line 5\nline 4\nline 2\nline 1\n");
}

TEST_F(LogCommandTest, BytesStandAsTheyAreButForTheLineEnds) {
  const std::string strange("\x1B[0m \0 \r \xFF \t", 13);
  const std::string wide(65535, 'x');  // the CR is the last byte of a large block, the LF the next
  logs.WriteBytes(kRun, wide + "\r\n" + strange + "\r\n" + "bare\n\r\n\n" + "end");
  logs.WriteBytes(kRun + ".1", "cut short");
  logs.WriteBytes(kRun + ".2", "");
  EXPECT_EQ(MustRun({"log", "show", kRun}),
            "cut short\n" + wide + "\n" + strange + "\nbare\n\n\nend\n");
}

TEST_F(LogCommandTest, ALogThatIsNotThereIsNamed) {
  for (const std::string run : {"lr_tool-none.log", "lr_tool-A"}) {
    const std::string errors = MustFail({"log", "show", run});
    EXPECT_THAT(errors, AllOf(StartsWith("larder: cannot read "),
                              EndsWith(run + ": there is no such log\n")));
    EXPECT_EQ(MustFail({"log", "show", run, "--follow"}), errors);
  }
  EXPECT_THAT(MustFail({"log", "show", InFolder("")}), HasSubstr(": it isn't a file\n"));
}

TEST_F(LogCommandTest, FollowingABusyHostNeitherLosesNorRepeatsALine) {
  constexpr int kLines = 400;
  constexpr int kMostUnread = 8;  // in fewer files than are kept
  logs.Write(kRun + ".1", {"line 0"});
  logs.Write(kRun, {"line 1"});
  const auto program = Start({"log", "show", "--follow"});
  int nextToRead = 0;
  const auto readOne = [&] {
    EXPECT_EQ(program->ReadLine(), "line " + std::to_string(nextToRead));
    ++nextToRead;
  };
  for (int i = 2; i < kLines; ++i) {
    if (i - nextToRead == kMostUnread) readOne();
    const std::string line = "line " + std::to_string(i);
    i % 2 == 0 ? logs.Rotate(kRun, line) : logs.Append(kRun, line);
  }
  while (nextToRead < kLines) readOne();
  EXPECT_EQ(program->Stop().value_or(0), 0);
  EXPECT_EQ(program->ReadLine(), std::nullopt);
  EXPECT_EQ(ErrorsOfStarted(), "");
}

TEST_F(LogCommandTest, FollowingSurvivesACutLineAnEmptiedFileAndADeletedOne) {
  logs.WriteBytes(kRun, "whole\r\nbeg");
  const auto program = Start({"log", "show", kRun, "--follow"});
  EXPECT_EQ(program->ReadLine(), "whole");
  logs.Append(kRun, "inning");
  EXPECT_EQ(program->ReadLine(), "beginning");
  logs.Write(kRun, {"emptied"});
  EXPECT_EQ(program->ReadLine(), "emptied");
  logs.Append(kRun, "next");
  EXPECT_EQ(program->ReadLine(), "next");
  std::filesystem::rename(logs.Path() / kRun, logs.Path() / "lr_tool-away");
  logs.Append(kRun, "new");
  EXPECT_EQ(program->ReadLine(), "new");
  EXPECT_EQ(program->Stop().value_or(0), 0);
  EXPECT_EQ(ErrorsOfStarted(), "");
}

}  // namespace
}  // namespace larder
