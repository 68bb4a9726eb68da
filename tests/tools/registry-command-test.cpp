#include <gmock/gmock.h>

#include <algorithm>

#include "platform/registry.h"
#include "support/registry.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr const char* kStrange = "Schl\xC3\xBCssel \xE9\x8D\xB5 \xF0\x9F\x97\x9D";  // with an emoji

class RegistryCommandTest : public ToolTest {
 protected:
  // Sets a value past the tool.
  static void SetRaw(const WideString& subkey, const WideString& name, std::uint32_t type,
                     const std::string& bytes) {
    platform::RegistryKey key = nullptr;
    ASSERT_EQ(platform::MakeRegistryKey(WideString(LarderRegistryRoot) + subkey,
                                        platform::kKeySetValue, key),
              platform::kSuccess);
    EXPECT_EQ(platform::SetRegistryValue(key, name, type, bytes.data(),
                                         static_cast<std::uint32_t>(bytes.size())),
              platform::kSuccess);
    platform::CloseRegistryKey(key);
  }
};

TEST_F(RegistryCommandTest, TextComesBackAsItWasGiven) {
  const std::vector<std::string> texts = {
      "plain",
      "",
      " blanks at both ends ",
      "C:\\Program Files\\Velmor\\",
      "\"quoted\" and \\\"half\\\\\"",
      kStrange,
      "++",
      "[a,b]",
      "[]",
      "%%",
      "/slash",
      "\x01",
      std::string(3000, 'x'),
  };
  for (const char* type : {"REG_SZ", "REG_EXPAND_SZ"}) {
    for (const std::string& text : texts) {
      MustRun({"registry", "set", "Install", "value", text, "--type", type});
      EXPECT_EQ(MustRun({"registry", "get", "Install", "value"}), text + "\n") << type;
    }
  }
}

TEST_F(RegistryCommandTest, WordsBehindTwoDashesAreTakenAsTheyStand) {
  for (const char* word : {"-x", "--help", "--", "list", "--type=REG_DWORD", "++", "[a]"}) {
    MustRun({"registry", "set", "--", word, word, word});
    EXPECT_EQ(MustRun({"registry", "get", "--", word, word}), std::string(word) + "\n");
  }
}

TEST_F(RegistryCommandTest, NumbersAreTakenInTwoFormsAndGivenBackInDecimal) {
  const std::vector<std::pair<std::string, std::string>> numbers = {
      {"0", "0"},     {"10", "10"},
      {"010", "10"},  {"4294967295", "4294967295"},
      {"0x1F", "31"}, {"0XfFfFfFfF", "4294967295"},
  };
  for (const auto& [given, expected] : numbers) {
    MustRun({"registry", "set", "Install", "number", given, "--type", "REG_DWORD"});
    EXPECT_EQ(MustRun({"registry", "get", "Install", "number"}), expected + "\n") << given;
  }
}

TEST_F(RegistryCommandTest, AValueCanChangeItsType) {
  MustRun({"registry", "set", "Install", "value", "text"});
  MustRun({"registry", "set", "Install", "value", "7", "--type", "REG_DWORD"});
  EXPECT_THAT(LinesOf(MustRun({"registry", "list"})),
              ElementsAre("Install", "Install\tvalue\tREG_DWORD\t7"));
}

TEST_F(RegistryCommandTest, DataOfOtherFormsIsPrintedInHexadecimal) {
  SetRaw(LARDER_WIDE("Install"), LARDER_WIDE("binary"), platform::kRegBinary,
         std::string("\x00\x7F\xAB", 3));
  SetRaw(LARDER_WIDE("Install"), LARDER_WIDE("short"), platform::kRegDword, "\x01\x02");
  SetRaw(LARDER_WIDE("Install"), LARDER_WIDE("odd"), platform::kRegSz, std::string("a\0b", 3));
  SetRaw(LARDER_WIDE("Install"), LARDER_WIDE("bare"), platform::kRegSz, std::string("a\0b\0", 4));
  SetRaw(LARDER_WIDE("Install"), LARDER_WIDE("none"), platform::kRegSz, "");
  SetRaw(LARDER_WIDE("Install"), LARDER_WIDE("long"), platform::kRegBinary, std::string(5000, 'x'));
  EXPECT_EQ(MustRun({"registry", "get", "Install", "binary"}), "007fab\n");
  EXPECT_EQ(MustRun({"registry", "get", "Install", "short"}), "0102\n");
  EXPECT_EQ(MustRun({"registry", "get", "Install", "odd"}), "610062\n");
  EXPECT_EQ(MustRun({"registry", "get", "Install", "bare"}), "ab\n");
  EXPECT_EQ(MustRun({"registry", "get", "Install", "none"}), "\n");
  EXPECT_EQ(MustRun({"registry", "get", "Install", "long"}).size(), 10001U);
}

TEST_F(RegistryCommandTest, ListShowsEveryKeyAndEveryValueOnALineOfItsOwn) {
  const std::string deep = std::string("DataProviders\\") + kStrange;
  MustRun({"registry", "set", "Install", "szLocation", "C:\\modules\\"});
  MustRun({"registry", "set", deep, kStrange, kStrange});
  MustRun({"registry", "set", deep, "expanded", "%PATH%", "--type", "REG_EXPAND_SZ"});
  MustRun({"registry", "set", "Logging", "lines", "two\nlines\tand a tab"});
  MustRun({"registry", "set", "", "of the root", "12", "--type", "REG_DWORD"});
  SetRaw(LARDER_WIDE("Install"), LARDER_WIDE("bytes"), platform::kRegBinary, "\x01\xFE");
  EXPECT_THAT(LinesOf(MustRun({"registry", "list"})),
              UnorderedElementsAre("\tof the root\tREG_DWORD\t12", "Install",
                                   "Install\tszLocation\tREG_SZ\tC:\\modules\\",
                                   "Install\tbytes\tREG_BINARY\t01fe", "DataProviders", deep,
                                   deep + "\t" + kStrange + "\tREG_SZ\t" + kStrange,
                                   deep + "\texpanded\tREG_EXPAND_SZ\t%PATH%", "Logging",
                                   "Logging\tlines\tREG_SZ\ttwo\xE2\x90\x8Alines\xE2\x90\x89"
                                   "and a tab"));
}

TEST_F(RegistryCommandTest, ListShowsAKeyBeforeWhatIsInIt) {
  MustRun({"registry", "set", "Outer\\Inner", "value", "1"});
  MustRun({"registry", "set", "Outer", "value", "2"});
  EXPECT_THAT(LinesOf(MustRun({"registry", "list"})),
              ElementsAre("Outer", "Outer\tvalue\tREG_SZ\t2", "Outer\\Inner",
                          "Outer\\Inner\tvalue\tREG_SZ\t1"));
}

TEST_F(RegistryCommandTest, NamesAreFoundWithoutRegardToCaseOrABackslashAtTheEnd) {
  MustRun({"registry", "set", "Install\\", "szLocation", "here"});
  EXPECT_EQ(MustRun({"registry", "get", "INSTALL", "SZLOCATION"}), "here\n");
  MustRun({"registry", "delete", "install\\", "szlocation"});
  EXPECT_THAT(LinesOf(MustRun({"registry", "list"})), ElementsAre("Install"));
}

TEST_F(RegistryCommandTest, DeletingAValueLeavesTheOthers) {
  MustRun({"registry", "set", "Install", "one", "1"});
  MustRun({"registry", "set", "Install", "two", "2"});
  MustRun({"registry", "set", "Install", "", "the nameless one"});
  MustRun({"registry", "set", "Install", "++", "3"});
  MustRun({"registry", "delete", "Install", "one"});
  MustRun({"registry", "delete", "Install", ""});
  MustRun({"registry", "delete", "Install", "++"});
  EXPECT_THAT(LinesOf(MustRun({"registry", "list"})),
              ElementsAre("Install", "Install\ttwo\tREG_SZ\t2"));
}

TEST_F(RegistryCommandTest, DeletingAKeyTakesWhatIsBelowItAndNothingElse) {
  MustRun({"registry", "set", "DataProviders\\A", "szDLL", "a.dll"});
  MustRun({"registry", "set", "DataProviders\\A\\Below\\Deeper", "x", "1"});
  MustRun({"registry", "set", "DataProviders\\AB", "szDLL", "ab.dll"});
  MustRun({"registry", "delete", "DataProviders\\A"});
  EXPECT_THAT(LinesOf(MustRun({"registry", "list"})),
              ElementsAre("DataProviders", "DataProviders\\AB",
                          "DataProviders\\AB\tszDLL\tREG_SZ\tab.dll"));
}

TEST_F(RegistryCommandTest, NoSubkeyReachesTheRootOrBeyond) {
  MustRun({"registry", "set", "Install", "kept", "1"});
  for (const char* subkey : {"", "\\", "/", ".", "..", "..\\Larder", "Install\\..", "Install/.."}) {
    const ToolRun run = Run({"registry", "delete", subkey});
    EXPECT_NE(run.status, 0) << subkey;
    EXPECT_NE(run.errors, "") << subkey;
  }
  EXPECT_EQ(MustRun({"registry", "get", "Install", "kept"}), "1\n");
}

TEST_F(RegistryCommandTest, WhatIsMissingIsNamedWithTheReason) {
  MustRun({"registry", "set", "Install", "there", "1"});
  const std::vector<std::pair<std::vector<std::string>, std::string>> failures = {
      {{"registry", "get", "Install", kStrange},
       std::string("larder: cannot read value \"") + kStrange + "\" of key \"Install\": "},
      {{"registry", "get", "Nowhere", "there"},
       "larder: cannot read value \"there\" of key \"Nowhere\": "},
      {{"registry", "delete", "Install", "gone"},
       "larder: cannot delete value \"gone\" of key \"Install\": "},
      {{"registry", "delete", "Nowhere", "gone"},
       "larder: cannot delete value \"gone\" of key \"Nowhere\": "},
      {{"registry", "delete", "No\\where"}, "larder: cannot delete key \"No\\where\": "},
  };
  for (const auto& [arguments, message] : failures) {
    const ToolRun run = Run(arguments);
    EXPECT_EQ(run.status, 1) << message;
    EXPECT_EQ(run.output, "") << message;
    EXPECT_THAT(run.errors, StartsWith(message));
    EXPECT_THAT(run.errors, testing::EndsWith(" (2)\n"));
    EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 1) << run.errors;
  }
}

TEST_F(RegistryCommandTest, ListSaysThatThereIsNothing) {
  const ToolRun run = Run({"registry", "list"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, StartsWith("larder: cannot open key \"Software\\Velmor\\Larder\": "));
}

}  // namespace
}  // namespace larder
