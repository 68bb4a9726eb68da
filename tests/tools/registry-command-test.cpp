#include <gmock/gmock.h>

#include "platform/scoped-handle.h"
#include "support/registry.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;
using testing::UnorderedElementsAre;

const std::string kStrange = "Schl\xC3\xBCssel \xE9\x8D\xB5 \xF0\x9F\x97\x9D";  // with an emoji

class RegistryCommandTest : public ToolTest {
 protected:
  void Set(const std::string& key, const std::string& name, const std::string& data) {
    MustRun({"registry", "set", key, name, data});
  }

  // Sets a value past the tool.
  static void SetRaw(const WideString& name, std::uint32_t type, const std::string& bytes) {
    platform::OwnedRegistryKey key;
    ASSERT_EQ(platform::MakeRegistryKey(WideString(LarderRegistryRoot) + LARDER_WIDE("Install"),
                                        platform::kKeySetValue, key.Out()),
              platform::kSuccess);
    EXPECT_EQ(platform::SetRegistryValue(key.Get(), name, type, bytes.data(),
                                         static_cast<std::uint32_t>(bytes.size())),
              platform::kSuccess);
  }
};

TEST_F(RegistryCommandTest, TextComesBackAsItWasGiven) {
  for (const std::string& text :
       Words{"plain", "", " blanks at both ends ", "C:\\Program Files\\Velmor\\",
             "\"quoted\" and \\\"half\\\\\"", kStrange, "++", "[a,b]", "[]", "%%", "/slash", "\x01",
             std::string(3000, 'x')}) {
    for (const char* type : {"REG_SZ", "REG_EXPAND_SZ"}) {
      MustRun({"registry", "set", "Install", "value", text, "--type", type});
      EXPECT_EQ(MustRun({"registry", "get", "Install", "value"}), text + "\n") << type;
    }
  }
  for (const std::string word : {"-x", "--help", "--", "list", "--type=REG_DWORD", "++", "[a]"}) {
    MustRun({"registry", "set", "--", word, word, word});
    EXPECT_EQ(MustRun({"registry", "get", "--", word, word}), word + "\n");
  }
}

TEST_F(RegistryCommandTest, NumbersAreTakenInTwoFormsAndGivenBackInDecimal) {
  Set("Install", "number", "a text before");
  const Words given = {"0", "010", "4294967295", "0x1F", "0XfFfFfFfF"};
  const Words expected = {"0", "10", "4294967295", "31", "4294967295"};
  for (std::size_t i = 0; i < given.size(); ++i) {
    MustRun({"registry", "set", "Install", "number", given[i], "--type", "REG_DWORD"});
    EXPECT_THAT(MustList({"registry", "list"}),
                ElementsAre("Install", "Install\tnumber\tREG_DWORD\t" + expected[i]));
  }
}

TEST_F(RegistryCommandTest, DataOfOtherFormsIsPrintedInHexadecimal) {
  using namespace std::string_literals;
  SetRaw(LARDER_WIDE("a"), platform::kRegBinary, "\x00\x7F\xAB"s);
  SetRaw(LARDER_WIDE("b"), platform::kRegDword, "\x01\x02");
  SetRaw(LARDER_WIDE("c"), platform::kRegSz, "a\0b"s);    // half a unit at the end
  SetRaw(LARDER_WIDE("d"), platform::kRegSz, "a\0b\0"s);  // no zero at the end
  SetRaw(LARDER_WIDE("e"), platform::kRegSz, "");
  EXPECT_THAT(MustList({"registry", "list"}),
              UnorderedElementsAre("Install", "Install\ta\tREG_BINARY\t007fab",
                                   "Install\tb\tREG_DWORD\t0102", "Install\tc\tREG_SZ\t610062",
                                   "Install\td\tREG_SZ\tab", "Install\te\tREG_SZ\t"));
  SetRaw(LARDER_WIDE("long"), platform::kRegBinary, std::string(5000, 'x'));
  EXPECT_EQ(MustRun({"registry", "get", "Install", "long"}).size(), 10001U);
}

TEST_F(RegistryCommandTest, ListShowsEveryKeyAndEveryValueOnALineOfItsOwn) {
  const std::string deep = "DataProviders\\" + kStrange;
  Set(deep, kStrange, kStrange);
  MustRun({"registry", "set", deep, "expanded", "%PATH%", "--type", "REG_EXPAND_SZ"});
  Set("Logging", "lines", "two\nlines\tand a tab");
  MustRun({"registry", "set", "", "of the root", "12", "--type", "REG_DWORD"});
  EXPECT_THAT(MustList({"registry", "list"}),
              UnorderedElementsAre("\tof the root\tREG_DWORD\t12", "DataProviders", deep,
                                   deep + "\t" + kStrange + "\tREG_SZ\t" + kStrange,
                                   deep + "\texpanded\tREG_EXPAND_SZ\t%PATH%", "Logging",
                                   "Logging\tlines\tREG_SZ\ttwo\xE2\x90\x8Alines\xE2\x90\x89"
                                   "and a tab"));
}

TEST_F(RegistryCommandTest, DeletingTakesWhatIsNamedAndWhatIsBelowItAndNothingElse) {
  for (const char* name : {"One", "two", "", "++"}) Set("Install\\", name, "1");
  MustRun({"registry", "delete", "INSTALL\\", "one"});
  MustRun({"registry", "delete", "Install", ""});
  MustRun({"registry", "delete", "Install", "++"});
  Set("Install\\A\\Below\\Deeper", "x", "1");
  Set("Install\\AB", "y", "2");
  MustRun({"registry", "delete", "Install\\A\\"});
  // A key before what is in it.
  EXPECT_THAT(MustList({"registry", "list"}),
              ElementsAre("Install", "Install\ttwo\tREG_SZ\t1", "Install\\AB",
                          "Install\\AB\ty\tREG_SZ\t2"));
}

TEST_F(RegistryCommandTest, NoSubkeyReachesTheRootOrBeyond) {
  Set("Install", "kept", "1");
  for (const char* subkey : {"", "\\", "/", ".", "..", "..\\Larder", "Install\\..", "Install/.."}) {
    const ToolRun run = Run({"registry", "delete", subkey});
    EXPECT_NE(run.status, 0) << subkey;
    EXPECT_NE(run.errors, "") << subkey;
  }
  EXPECT_EQ(MustRun({"registry", "get", "Install", "kept"}), "1\n");
}

TEST_F(RegistryCommandTest, WhatIsMissingIsNamedWithTheReason) {
  EXPECT_THAT(MustFail({"registry", "list"}),
              StartsWith("larder: cannot open key \"Software\\Velmor\\Larder\": "));
  Set("Install", "there", "1");
  const std::vector<std::pair<Words, std::string>> failures = {
      {{"get", "Install", kStrange}, "read value \"" + kStrange + "\" of key \"Install\": "},
      {{"get", "Nowhere", "there"}, "read value \"there\" of key \"Nowhere\": "},
      {{"delete", "Install", "gone"}, "delete value \"gone\" of key \"Install\": "},
      {{"delete", "Nowhere", "gone"}, "delete value \"gone\" of key \"Nowhere\": "},
      {{"delete", "No\\where"}, "delete key \"No\\where\": "},
  };
  for (auto [arguments, message] : failures) {
    arguments.insert(arguments.begin(), "registry");
    EXPECT_THAT(LinesOf(MustFail(arguments)),
                ElementsAre(AllOf(StartsWith("larder: cannot " + message), EndsWith(" (2)"))));
  }
}

}  // namespace
}  // namespace larder
