#include <gmock/gmock.h>

#include "tools/run-program.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

using UsageTest = ToolTest;

TEST_F(UsageTest, TheVersionIsPrinted) { EXPECT_EQ(MustRun({"--version"}), "larder 0.1.0\n"); }

TEST_F(UsageTest, HelpGoesToStandardOutputAndNamesWhatThereIs) {
  EXPECT_THAT(MustRun({"--help"}),
              testing::AllOf(HasSubstr("registry"), HasSubstr("query"), HasSubstr("scan"),
                             HasSubstr("notify"), HasSubstr("log"), HasSubstr("setup"),
                             HasSubstr("remove")));
  EXPECT_THAT(MustRun({"notify", "--help"}), HasSubstr("--reset"));
  EXPECT_THAT(MustRun({"log", "show", "--help"}), HasSubstr("--follow"));
  EXPECT_THAT(MustRun({"query", "--help"}), HasSubstr("--option"));
  EXPECT_THAT(MustRun({"registry", "set", "--help"}), HasSubstr("REG_EXPAND_SZ"));
}

TEST_F(UsageTest, WithoutArgumentsTheHelpIsAnError) {
  const ToolRun run = Run({});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, testing::AllOf(HasSubstr("registry"), HasSubstr("query")));
}

struct UsageError {
  std::vector<std::string> arguments;
  std::string named;  // what the message must name
};

TEST_F(UsageTest, EachUsageErrorHasStatusTwoAndNamesItsReason) {
  const std::vector<UsageError> errors = {
      {{"query"}, "FILE"},
      {{"fetch"}, "fetch"},
      {{"/version"}, "/version"},
      {{"registry"}, "command"},
      {{"registry", "fetch"}, "fetch"},
      {{"--", "registry"}, "registry"},
      {{"registry", "list", "more"}, "more"},
      {{"registry", "get", "Install"}, "NAME"},
      {{"registry", "get", "Install", "a", "surplus"}, "surplus"},
      {{"registry", "get", "Install\\\\More", "a"}, "Install\\\\More"},
      {{"registry", "get", "\\Install", "a"}, "\\Install"},
      {{"registry", "set", "Install", "a"}, "DATA"},
      {{"registry", "set", "Install", "a", "b", "--type", "REG_BINARY"}, "REG_BINARY"},
      {{"registry", "set", "Install", "a", "b", "--type"}, "--type"},
      {{"registry", "delete"}, "SUBKEY"},
      {{"registry", "delete", ""}, "everything"},
      {{"registry", "delete", "\\"}, "\\"},
      {{"query", "--type", "one", "a"}, "one"},
      {{"query", "--type", "2147483648", "a"}, "2147483648"},
      {{"query", "--option", "-1", "a"}, "-1"},
      {{"query", "--option", "4294967296", "a"}, "4294967296"},
      {{"query", "a", "--loud"}, "--loud"},
      {{"scan"}, "DIR"},
      {{"scan", "--threads", "0", "a"}, "0"},
      {{"scan", "--threads", "257", "a"}, "257"},
      {{"scan", "--threads", "two", "a"}, "two"},
      {{"scan", "--option", "x", "a"}, "x"},
      {{"scan", "--json", "--summary", "a"}, "--json"},
      {{"notify"}, "MESSAGE"},
      {{"notify", "upgrade", "--reset"}, "MESSAGE"},
      {{"notify", "upgrade", "--wait"}, "MESSAGE"},
      {{"notify", "--reset", "--wait"}, "MESSAGE"},
      {{"notify", "upgrade", "--once"}, "--once"},
      {{"notify", "--once"}, "MESSAGE"},
      {{"notify", "upgrade", "uninstall"}, "uninstall"},
      {{"log"}, "command"},
      {{"log", "of"}, "of"},
      {{"log", "on", "--follow"}, "--follow"},
      {{"log", "show", "one.log", "two.log"}, "two.log"},
      {{"setup", "more"}, "more"},
      {{"setup", "--logs"}, "--logs"},
      {{"remove"}, "--registry, --data and --program"},
      {{"remove", "--yes"}, "--registry, --data and --program"},
      {{"remove", "--registry", "more"}, "more"},
      {{"remove", "--program", "one", "two"}, "two"},
  };
  for (const UsageError& error : errors) {
    const ToolRun run = Run(error.arguments);
    const std::string shown = testing::PrintToString(error.arguments);
    EXPECT_EQ(run.status, 2) << shown;
    EXPECT_EQ(run.output, "") << shown;
    EXPECT_THAT(run.errors, StartsWith("larder: ")) << shown;
    EXPECT_THAT(run.errors, HasSubstr(error.named)) << shown;
  }
}

TEST_F(UsageTest, ANumberThatIsNoneIsRefusedAndSetsNothing) {
  for (const char* number : {"4294967296", "0x100000000", "-1", "+1", "12a", "0x", "0xg", " 1", "",
                             "1.0", "99999999999999999999999"}) {
    const ToolRun run =
        Run({"registry", "set", "--type", "REG_DWORD", "--", "Install", "a", number});
    EXPECT_EQ(run.status, 2) << number;
    EXPECT_THAT(run.errors, HasSubstr(number)) << number;
  }
  EXPECT_EQ(Run({"registry", "get", "Install", "a"}).status, 1);
}

TEST_F(UsageTest, OutputIntoAClosedPipeIsAFailureWithAMessage) {
  MustRun({"registry", "set", "Install", "a", "b"});
  const auto errors = machine.Folder() / "errors";
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--version"},
                                                    {"--help"},
                                                    {"registry", "list"},
                                                    {"registry", "get", "Install", "a"}}) {
    EXPECT_EQ(RunProgramIntoClosedPipe(ToolPath(), arguments, errors), 1)
        << testing::PrintToString(arguments);
    EXPECT_THAT(ContentOf(errors), StartsWith("larder: cannot write to standard output: "));
  }
}

}  // namespace
}  // namespace larder
