#include "tools/larder/status/child.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "platform/module-fixture.h"
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

TEST(Child, ItsStatusAndItsArgumentsAreTold) {
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

TEST(Child, OfMuchOutputTheEndIsKept) {
  const ChildResult result = RunProgram({"talk", "the beginning"});
  EXPECT_EQ(result.status, 0U);
  EXPECT_EQ(result.output.size(), 0x10000U);
  EXPECT_TRUE(result.output.ends_with("\ntalk talk talk\n"));
}

TEST(Child, ACrashIsToldFromAnExit) {
  const ChildResult result = RunProgram({"crash", "first words"});
  EXPECT_EQ(result.kind, ChildResult::Kind::kCrashed);
  EXPECT_NE(result.status, 0U);
  EXPECT_EQ(result.output, "first words\n");
}

TEST(Child, OneThatDoesntEndIsEnded) {
  const ChildResult result = RunProgram({"wait"}, std::chrono::milliseconds(300));
  EXPECT_EQ(result.kind, ChildResult::Kind::kTimedOut);
}

TEST(Child, WhatCantBeStartedIsToldByItsCode) {
  ChildResult result;
  EXPECT_EQ(RunChild(WidePathOf(FixtureFolder() / "no-such-program"), {}, kLong, result),
            kFileNotFound);
}

TEST(Dependencies, WhatIsMissingIsNamed) {
  std::vector<std::string> names;
  EXPECT_EQ(FindMissingDependencies(WidePathOf(FixtureFolder() / "dependent-module.dll"), names),
            kSuccess);
  EXPECT_THAT(names, ElementsAre(HasSubstr("platform-dependency")));
  names.clear();
  EXPECT_EQ(FindMissingDependencies(WidePathOf(FixtureFolder() / "plain-module.dll"), names),
            kSuccess);
  EXPECT_THAT(names, IsEmpty());
}

}  // namespace
}  // namespace larder::tool
