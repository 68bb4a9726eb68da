#include "tools/larder/status/child.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "platform/machine-fixture.h"
#include "testing/process.h"
#include "tools/larder/status/module-file.h"

namespace larder::tool {
namespace {

using platform::FixtureFolder;
using platform::kFileNotFound;
using platform::kSuccess;
using platform::ThisProgram;
using platform::WidePathOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::chrono::minutes kLong(1);

ChildResult RunProgram(const std::vector<std::string>& arguments,
                       std::chrono::milliseconds limit = kLong) {
  ChildResult result;
  const auto program = ThisProgram().replace_filename("child-program");
  EXPECT_EQ(RunChild(WidePathOf(program.string() + ThisProgram().extension().string()), arguments,
                     limit, result),
            kSuccess);
  return result;
}

TEST(Child, GetsItsArgumentsUnchangedAndReportsItsStatus) {
  const std::vector<std::string> arguments{
      "exit", "a b",         "\"", "\\", "a\\\"b\\\\", "", "\xC3\xA4 \xF0\x9F\x97\x9D",
      "*",    "$HOME %PATH%"};
  const ChildResult result = RunProgram(arguments);
  EXPECT_EQ(result.kind, ChildResult::Kind::kExited);
  EXPECT_EQ(result.status, 42U);
  std::string expected;
  for (std::size_t i = 1; i < arguments.size(); ++i) expected += arguments[i] + "\n";
  EXPECT_EQ(result.output, expected);
}

TEST(Child, KeepsTheBeginningOfALongOutput) {
  const ChildResult result = RunProgram({"talk", "the beginning"});
  EXPECT_EQ(result.output.size(), 0x10000U);
  EXPECT_TRUE(result.output.starts_with("the beginning\ntalk talk talk\n"));
}

TEST(Child, InheritsNoHandleAndLeavesNoProcess) {
  const std::string file = (std::filesystem::temp_directory_path() / "larder-child-test").string();
  const std::string handles = RunProgram({"handles"}).output;
  std::FILE* inheritable = std::fopen(file.c_str(), "wb");
  EXPECT_EQ(RunProgram({"handles"}).output, handles);
  std::fclose(inheritable);
  const std::string output = RunProgram({"leave", file}).output;
  EXPECT_TRUE(HasEnded(std::stol(output.substr(output.find('\n') + 1))));
  std::filesystem::remove(file);
}

TEST(Child, IsDistinguishedByItsEnd) {
  const ChildResult crashed = RunProgram({"crash", "first words"});
  EXPECT_EQ(crashed.kind, ChildResult::Kind::kCrashed);
  EXPECT_NE(crashed.status, 0U);
  EXPECT_EQ(crashed.output, "first words\n");
  EXPECT_EQ(RunProgram({"wait"}, std::chrono::milliseconds(300)).kind,
            ChildResult::Kind::kTimedOut);
  ChildResult none;
  EXPECT_EQ(RunChild(WidePathOf(FixtureFolder() / "no-such-program"), {}, kLong, none),
            kFileNotFound);
}

TEST(Dependencies, AreNamedIfTheyAreMissing) {
  const auto missing = [](const char* module) {
    std::vector<std::string> names;
    EXPECT_EQ(FindMissingDependencies(WidePathOf(FixtureFolder() / module), names), kSuccess);
    return names;
  };
  EXPECT_THAT(missing("dependent-module.dll"), ElementsAre(HasSubstr("platform-dependency")));
  EXPECT_THAT(missing("plain-module.dll"), IsEmpty());
}

}  // namespace
}  // namespace larder::tool
