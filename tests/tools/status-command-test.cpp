#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::json;

const std::string kFailedOpen = "Failed to open the Larder DB (-3)";

// A machine on which feed-file.dll is registered and well, and then spoiled.
class StatusCommandTest : public ToolTest {
 protected:
  void SetUp() override { RegisterModules({"feed-file.dll"}); }

  // A second provider; only one at a time.
  void Register(const std::string& dll) {
    MustRun({"registry", "set", "DataProviders\\Second", "szDLL", dll});
  }
  // The same, a copy of a file in the folder of all that is built.
  void RegisterCopy(const std::string& built, const std::string& dll) {
    std::filesystem::copy_file(BuiltFile(built), machine.Folder() / dll);
    Register(dll);
  }
  void SetLocation(const std::string& location) {
    MustRun({"registry", "set", "Install", "szLocation", location});
  }

  // The last line of the report, which says that not all is well.
  std::string Verdict() {
    const ToolRun run = Run({"status"}, 1);
    EXPECT_EQ(run.errors, "");
    return LinesOf(run.output).back();
  }

  // The report says that LarderInit fails because of the culprit; and a client finds just that.
  void ExpectFailure(const std::string& culprit, const std::string& reason) {
    EXPECT_THAT(Verdict(), AllOf(StartsWith("LarderInit will return " + kFailedOpen +
                                            " because of " + culprit + ": "),
                                 HasSubstr(reason)));
    EXPECT_THAT(MustFail({"query", "file"}),
                StartsWith("larder: cannot start the library: " + kFailedOpen + "\n"));
  }
  void ExpectSecondFails(const std::string& dll, const std::string& reason) {
    ExpectFailure(dll + " (DataProviders\\Second)", reason);
  }

  Json StatusAsJson() {
    const ToolRun run = Run({"status", "--json"}, 1);
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
  MustRun({"query", Utf8Of(tool)});
}

TEST_F(StatusCommandTest, AMissingModuleIsNamedAndADifferenceInCaseToldWhereItMatters) {
  Register("gone.dll");
  ExpectSecondFails("gone.dll", "the file is not there");
  RegisterCopy("feed-test.dll", "Small.dll");
  Register("small.DLL");
  if (std::filesystem::exists(machine.Folder() / "SMALL.DLL")) {
    MustRun({"status"});
  } else {
    ExpectSecondFails("small.DLL", "there is \"Small.dll\", which differs in upper and lower case");
  }
}

TEST_F(StatusCommandTest, WhatIsNoModuleOfThisSystemIsSaidToBeNone) {
  MakeFile("text.dll", "no module\n");
  Register("text.dll");
  ExpectSecondFails("text.dll", "it is a text file, not a module");

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
  Register("small.dll");
  ExpectSecondFails("small.dll", "it is a 32-bit module");
}

TEST_F(StatusCommandTest, AModuleThatLacksAnotherIsSaidToBeThere) {
  RegisterCopy("platform-fixtures/dependent-module.dll", "needy.dll");
  ExpectSecondFails("needy.dll", "the file is there, but what it needs isn't: ");
  const Json status = StatusAsJson();
  const Json& needy = status["providers"][1];
  EXPECT_EQ(needy["key"], "Second");
  EXPECT_EQ(needy["exists"], true);
  EXPECT_EQ(needy["loads"], false);
  ASSERT_EQ(needy["missing"].size(), 1U);
  EXPECT_THAT(needy["missing"][0].get<std::string>(), HasSubstr("platform-dependency"));
  EXPECT_EQ(status["init"]["result"], -3);
  EXPECT_EQ(status["init"]["culprit"], "needy.dll (DataProviders\\Second)");
}

TEST_F(StatusCommandTest, WhatAModuleDoesWrongIsTold) {
  RegisterCopy("fixtures/type-6.dll", "six.dll");
  ExpectSecondFails("six.dll", "the type 6, not one from 0 to 5");
  RegisterCopy("fixtures/get-provider-throws.dll", "throws.dll");
  ExpectSecondFails("throws.dll", "in GetProvider, it throws an exception: ");
  RegisterCopy("fixtures/no-export.dll", "bare.dll");
  ExpectSecondFails("bare.dll", "it doesn't export GetProvider");
  RegisterCopy("fixtures/type-0.dll", "zero.dll");
  std::filesystem::copy_file(BuiltFile("fixtures/duplicate-type.dll"),
                             machine.Folder() / "third.dll");
  MustRun({"registry", "set", "DataProviders\\Third", "szDLL", "third.dll"});
  ExpectFailure("third.dll (DataProviders\\Third)",
                "it reports the type 0, which is already taken by \"Second\"");
}

TEST_F(StatusCommandTest, ValuesThatTheLibraryCannotUseAreNamedWithTheReason) {
  MustRun({"registry", "set", "DataProviders\\Number", "szDLL", "--type", "REG_DWORD", "7"});
  EXPECT_THAT(MustRun({"status"}),
              HasSubstr("  module    none: the value has the type REG_DWORD, not REG_SZ\n"
                        "  loads     the library skips it\n"));
  std::string location = RegistryTextOf(machine.Folder());
  location.pop_back();
  SetLocation(location);
  ExpectFailure("feed-file.dll (DataProviders\\feed-file.dll)",
                "which is another path: szLocation must end in a backslash");
  const std::string overlong(99, 'x');
  SetLocation(overlong);
  MustRun({"registry", "set", "DataProviders\\feed-file.dll", "szDLL", "nowhere.dll"});
  ExpectFailure("nowhere.dll (DataProviders\\feed-file.dll)",
                "szLocation names no folder: the value is too long");
  MustRun({"registry", "set", "DataProviders\\feed-file.dll", "szDLL", overlong});
  ExpectFailure("the key \"DataProviders\"",
                "\"feed-file.dll\", szDLL: the value is too long: 99 characters, where the library "
                "reads at most 98");
}

TEST_F(StatusCommandTest, AKeyThatCantBeReadOrNamesNoModuleIsToBlame) {
  MustRun({"registry", "delete", "DataProviders\\feed-file.dll", "szDLL"});
  ExpectFailure("the key \"DataProviders\"", "no key below it names a module");
  machine.ForbidKey("DataProviders");
  ExpectFailure("the key \"DataProviders\"", "can't be opened for reading and writing");
}

TEST_F(StatusCommandTest, AModuleThatEndsOrHoldsItsHostLetsTheToolLive) {
  RegisterCopy("fixtures/crashes-when-loaded.dll", "crash.dll");
  const Json init = StatusAsJson()["init"];
  EXPECT_EQ(init["culprit"], "crash.dll (DataProviders\\Second)");
  // Windows itself catches what happens in a module's entry point: "No access to memory location".
  EXPECT_THAT(init["reason"].get<std::string>(),
              AnyOf(AllOf(StartsWith("it crashes ("), HasSubstr("while it is being loaded")),
                    HasSubstr("can't be loaded: No access to memory location. (998)")));
  RegisterCopy("fixtures/hangs-when-loaded.dll", "hang.dll");
  const ToolRun run = Run({"status", "--timeout", "1"}, 1);
  EXPECT_THAT(run.output, HasSubstr("  loads     yes\n"));  // the other is tried all the same
  EXPECT_EQ(LinesOf(run.output).back(),
            "LarderInit doesn't return because of hang.dll (DataProviders\\Second): it hangs (no "
            "answer within 1000 ms) while it is being loaded");
  RegisterCopy("fixtures/gives-no-provider.dll", "nothing.dll");
  EXPECT_EQ(Verdict(),
            "LarderInit doesn't return because of nothing.dll "
            "(DataProviders\\Second): its GetProvider returns no provider: the host crashes");
  RegisterCopy("fixtures/crashes-when-destroyed.dll", "end.dll");
  EXPECT_THAT(Verdict(),
              AllOf(StartsWith("LarderInit will return Success (0), but the last LarderRelease "
                               "doesn't return because of end.dll (DataProviders\\Second): it "
                               "crashes ("),
                    HasSubstr("while its provider is destroyed")));
}

}  // namespace
}  // namespace larder
