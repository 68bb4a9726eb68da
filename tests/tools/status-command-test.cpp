#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Json = nlohmann::json;

constexpr const char* kFailedInit =
    "LarderInit will return Failed to open the Larder DB (-3) because of ";

// A machine on which feed-file.dll is registered and well, and then spoiled.
class StatusCommandTest : public ToolTest {
 protected:
  void SetUp() override { RegisterModules({"feed-file.dll"}); }

  // A second provider. name: of a file in the folder of all that is built, or of one that exists.
  void Register(const std::string& key, const std::string& dll) {
    MustRun({"registry", "set", "DataProviders\\" + key, "szDLL", dll});
  }
  void Copy(const std::string& from, const std::string& to) {
    std::filesystem::copy_file(BuiltFile(from), machine.Folder() / to);
  }

  // The report says that LarderInit fails because of the culprit, the exit status too; and a client
  // finds just that.
  void ExpectFailure(const std::string& culprit, const std::string& reason) {
    const ToolRun run = Run({"status"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "");
    EXPECT_THAT(LinesOf(run.output).back(),
                AllOf(StartsWith(kFailedInit + culprit + ": "), HasSubstr(reason)));
    const ToolRun client = Run({"query", Utf8Of(ToolPath())});
    EXPECT_EQ(client.status, 1);
    EXPECT_THAT(
        client.errors,
        StartsWith("larder: cannot start the library: Failed to open the Larder DB (-3)\n"));
  }

  // The same with a module at which LarderInit doesn't come back.
  void ExpectNoReturn(const std::string& culprit, const std::string& reason) {
    const ToolRun run = Run({"status", "--timeout", "1"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(LinesOf(run.output).back(),
                AllOf(StartsWith("LarderInit doesn't come back because of " + culprit + ": "),
                      HasSubstr(reason)));
    EXPECT_THAT(run.output, HasSubstr("  loads     yes\n"));  // the others are tried all the same
  }

  Json StatusAsJson(int status) {
    const ToolRun run = Run({"status", "--json"});
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(LinesOf(run.output).size(), 1U);
    return Json::parse(run.output);
  }
};

TEST_F(StatusCommandTest, AGoodMachineIsSaidToBeGood) {
  MustRun({"log", "on"});
  const std::string text = MustRun({"status"});
  EXPECT_THAT(text, AllOf(HasSubstr("\nprovider    feed-file.dll\n"),
                          HasSubstr("  file      there\n"), HasSubstr("  loads     yes\n"),
                          HasSubstr("  type      1\n"), HasSubstr("\nlog         on\n")));
  EXPECT_EQ(LinesOf(text).back(), "LarderInit will return Success (0)");
  MustRun({"query", Utf8Of(ToolPath())});
}

TEST_F(StatusCommandTest, AMissingModuleIsNamedWithThePathAtWhichItIsLookedFor) {
  Register("Gone", "gone.dll");
  ExpectFailure("gone.dll (DataProviders\\Gone)", "the file is not there");
}

TEST_F(StatusCommandTest, ADifferenceInCaseIsToldWhereItMatters) {
  Copy("feed-test.dll", "Small.dll");
  Register("Small", "small.DLL");
  if (std::filesystem::exists(machine.Folder() / "SMALL.DLL")) {
    MustRun({"status"});
  } else {
    ExpectFailure("small.DLL (DataProviders\\Small)",
                  "there is \"Small.dll\", which differs in upper and lower case");
  }
}

TEST_F(StatusCommandTest, WhatIsNoModuleOfThisSystemIsSaidToBeNone) {
  MakeFile("text.dll", "no module\n");
  Register("Text", "text.dll");
  ExpectFailure("text.dll (DataProviders\\Text)", "it is a text file, no module");
  MustRun({"registry", "delete", "DataProviders\\Text", "szDLL"});

  // A real module whose head says that it is one of 32 bits.
  std::string module = ContentOf(BuiltFile("feed-test.dll"));
  if (module.starts_with("MZ")) {
    const std::size_t head = static_cast<unsigned char>(module.at(0x3C)) |
                             static_cast<std::size_t>(static_cast<unsigned char>(module.at(0x3D)))
                                 << 8;
    module.replace(head + 4, 2, "\x4C\x01", 2);   // machine: i386
    module.replace(head + 24, 2, "\x0B\x01", 2);  // PE32
  } else {
    module.at(4) = 1;  // ELFCLASS32
  }
  MakeFile("small.dll", module);
  Register("Small", "small.dll");
  ExpectFailure("small.dll (DataProviders\\Small)", "it is a 32-bit module");
}

TEST_F(StatusCommandTest, AModuleThatLacksAnotherIsSaidToBeThere) {
  Copy("platform-fixtures/dependent-module.dll", "needy.dll");
  Register("Needy", "needy.dll");
  ExpectFailure("needy.dll (DataProviders\\Needy)", "the file is there, but what it needs isn't: ");
  const Json status = StatusAsJson(1);
  const Json& needy = status["providers"][1];
  EXPECT_EQ(needy["key"], "Needy");
  EXPECT_EQ(needy["exists"], true);
  EXPECT_EQ(needy["loads"], false);
  ASSERT_EQ(needy["missing"].size(), 1U);
  EXPECT_THAT(needy["missing"][0].get<std::string>(), HasSubstr("platform-dependency"));
  EXPECT_EQ(status["init"]["result"], -3);
  EXPECT_EQ(status["init"]["culprit"], "needy.dll (DataProviders\\Needy)");
}

TEST_F(StatusCommandTest, TypesThatClashOrDontExistAreToldWithTheirOwners) {
  Copy("fixtures/type-0.dll", "first.dll");
  Copy("fixtures/duplicate-type.dll", "second.dll");
  Register("x-first", "first.dll");
  Register("y-second", "second.dll");
  ExpectFailure("second.dll (DataProviders\\y-second)",
                "it reports the type 0, which is already taken by \"x-first\"");
  MustRun({"registry", "delete", "DataProviders\\y-second", "szDLL"});
  Copy("fixtures/type-6.dll", "six.dll");
  Register("six", "six.dll");
  ExpectFailure("six.dll (DataProviders\\six)", "the type 6, not one from 0 to 5");
}

TEST_F(StatusCommandTest, ALocationWithoutABackslashIsNotAMissingFile) {
  std::string location = MustRun({"registry", "get", "Install", "szLocation"});
  location.erase(location.find_last_not_of("\\\r\n") + 1);
  MustRun({"registry", "set", "Install", "szLocation", location});
  ExpectFailure("feed-file.dll (DataProviders\\feed-file.dll)",
                "which is another path: szLocation must end in a backslash");
}

TEST_F(StatusCommandTest, AnOverlongValueIsNamedWithItsLength) {
  const std::string overlong(99, 'x');
  Register("feed-file.dll", overlong);
  ExpectFailure("the key \"DataProviders\"",
                "\"feed-file.dll\", szDLL: the value is too long: 99 characters, where the library "
                "reads at most 98");
  Register("feed-file.dll", "feed-file.dll.not-in-the-search-path");
  MustRun({"registry", "set", "Install", "szLocation", overlong});
  ExpectFailure("feed-file.dll.not-in-the-search-path (DataProviders\\feed-file.dll)",
                "szLocation gives no folder: the value is too long");
}

TEST_F(StatusCommandTest, AValueOfAnotherTypeIsPassedOver) {
  MustRun({"registry", "set", "DataProviders\\Number", "szDLL", "--type", "REG_DWORD", "7"});
  EXPECT_THAT(MustRun({"status"}),
              HasSubstr("  module    none: the value has the type REG_DWORD, not REG_SZ\n"
                        "  loads     the library passes it over\n"));
}

TEST_F(StatusCommandTest, AKeyThatCantBeReadIsNamed) {
  machine.ForbidKey("DataProviders");
  ExpectFailure("the key \"DataProviders\"", "can't be opened for reading and writing");
}

TEST_F(StatusCommandTest, AModuleThatEndsOrHoldsItsHostLetsTheToolLive) {
  Copy("fixtures/crashes-when-loaded.dll", "crash.dll");
  Register("Bad", "crash.dll");
  const Json status = StatusAsJson(1);
  EXPECT_EQ(status["init"]["culprit"], "crash.dll (DataProviders\\Bad)");
  // Windows itself catches what happens in a module's entry point: "No access to memory location".
  EXPECT_THAT(status["init"]["reason"].get<std::string>(),
              AnyOf(AllOf(StartsWith("it crashes ("), HasSubstr("while it is being loaded")),
                    HasSubstr("can't be loaded: No access to memory location. (998)")));
  Copy("fixtures/hangs-when-loaded.dll", "hang.dll");
  Register("Bad", "hang.dll");
  ExpectNoReturn("hang.dll (DataProviders\\Bad)",
                 "it hangs (no answer within 1000 ms) while it is being loaded");
  Copy("fixtures/gives-no-provider.dll", "nothing.dll");
  Register("Bad", "nothing.dll");
  ExpectNoReturn("nothing.dll (DataProviders\\Bad)", "its GetProvider gives no provider");
}

TEST_F(StatusCommandTest, AModuleThatFailsAfterwardsIsNamedThoughLarderInitSucceeds) {
  Copy("fixtures/crashes-when-destroyed.dll", "end.dll");
  Register("End", "end.dll");
  const ToolRun run = Run({"status"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(LinesOf(run.output).back(),
              AllOf(StartsWith("LarderInit will return Success (0), but the last LarderRelease "
                               "doesn't come back because "
                               "of end.dll (DataProviders\\End): it crashes ("),
                    HasSubstr("while its provider is destroyed")));
}

TEST_F(StatusCommandTest, WhatAModuleThrowsAndLacksIsQuoted) {
  Copy("fixtures/get-provider-throws.dll", "throws.dll");
  Register("Throws", "throws.dll");
  ExpectFailure("throws.dll (DataProviders\\Throws)", "in GetProvider, it throws an exception: ");
  Copy("fixtures/no-export.dll", "bare.dll");
  Register("Throws", "bare.dll");
  ExpectFailure("bare.dll (DataProviders\\Throws)", "it doesn't export GetProvider");
}

TEST_F(StatusCommandTest, WithoutAnyProviderTheKeyIsToBlame) {
  MustRun({"registry", "delete", "DataProviders\\feed-file.dll", "szDLL"});
  ExpectFailure("the key \"DataProviders\"", "no key below it names a module");
}

TEST_F(StatusCommandTest, ATimeLimitMustBeANumberOfSeconds) {
  for (const char* limit : {"0", "-1", "3601", "ten", ""}) {
    const ToolRun run = Run({"status", "--timeout", limit});
    EXPECT_EQ(run.status, 2) << limit;
    EXPECT_THAT(run.errors, HasSubstr("no number from 1 to 3600")) << limit;
  }
  EXPECT_THAT(MustRun({"--help"}), Not(HasSubstr("probe-provider")));
}

}  // namespace
}  // namespace larder
