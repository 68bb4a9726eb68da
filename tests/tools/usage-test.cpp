#include <gmock/gmock.h>

#include "tools/log-folder.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using UsageTest = ToolTest;

TEST_F(UsageTest, VersionAndHelpGoToStandardOutputUnlessNothingWasAskedFor) {
  EXPECT_EQ(MustRun({"--version"}), "larder 0.1.0\n");
  const std::string help = MustRun({"--help"});
  for (const std::string command :
       {"registry", "query", "scan", "notify", "log", "setup", "status", "remove"}) {
    EXPECT_THAT(help, HasSubstr("  " + command + " "));
  }
  EXPECT_THAT(help, Not(HasSubstr("probe-provider")));
  EXPECT_THAT(MustRun({"log", "show", "--help"}), HasSubstr("--follow"));
  EXPECT_THAT(MustRun({"registry", "set", "--help"}), HasSubstr("REG_EXPAND_SZ"));
  EXPECT_EQ(MustFail({}, 2), help);
}

struct UsageError {
  Words arguments;
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
      {{"query", "--dump", "--json", "a"}, "--json"},
      {{"query", "--dump", "--type", "3", "a"}, "the file provider's records (--type 1) only"},
      {{"query", "--json", "--type", "3", "a"}, "the file provider's records (--type 1) only"},
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
      {{"notify", "upgrade", "uninstall"}, "uninstall"},
      {{"log"}, "command"},
      {{"log", "on", "--follow"}, "--follow"},
      {{"log", "show", "one.log", "two.log"}, "two.log"},
      {{"setup", "more"}, "more"},
      {{"status", "--timeout", "0"}, "not a number from 1 to 3600: 0"},
      {{"status", "--timeout", "3601"}, "not a number from 1 to 3600: 3601"},
      {{"status", "--timeout", "ten"}, "not a number from 1 to 3600: ten"},
      {{"remove", "--yes"}, "--registry, --data and --program"},
      {{"remove", "--program", "one", "two"}, "two"},
  };
  for (const auto& [arguments, named] : errors) {
    EXPECT_THAT(MustFail(arguments, 2), AllOf(StartsWith("larder: "), HasSubstr(named)))
        << testing::PrintToString(arguments);
  }
}

TEST_F(UsageTest, ANumberThatIsNoneIsRefusedAndSetsNothing) {
  for (const char* number : {"4294967296", "0x100000000", "-1", "+1", "12a", "0x", "0xg", " 1", "",
                             "1.0", "99999999999999999999999"}) {
    EXPECT_THAT(MustFail({"registry", "set", "--type", "REG_DWORD", "--", "key", "a", number}, 2),
                HasSubstr(std::string("not a number from 0 to 4294967295: ") + number));
  }
  MustFail({"registry", "get", "key", "a"});
}

TEST_F(UsageTest, OutputIntoAClosedPipeEndsEachCommandAsAFailure) {
  RegisterModules({"feed-file.dll"});
  LogFolder logs(LogsPath());
  logs.Write("lr_tool-A.log", {"line"});
  for (int i = 0; i < 200; ++i) MakeFile("tree/" + std::to_string(i), "abc");
  const std::string file = InFolder("tree/0");
  for (const Words& arguments : std::vector<Words>{{"--version"},
                                                   {"--help"},
                                                   {"registry", "list"},
                                                   {"registry", "get", "Install", "szLocation"},
                                                   {"query", file, file},
                                                   {"scan", InFolder("tree")},
                                                   {"notify", "--wait"},
                                                   {"log", "show", "lr_tool-A.log", "--follow"}}) {
    EXPECT_EQ(Start(arguments, false)->Wait(), 1) << testing::PrintToString(arguments);
    EXPECT_THAT(ErrorsOfStarted(), StartsWith("larder: cannot write to standard output: "));
  }
}

}  // namespace
}  // namespace larder
