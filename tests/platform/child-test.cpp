#include "platform/child.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "platform/dependencies.h"
#include "platform/module-fixture.h"

namespace larder::platform {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::chrono::minutes kLong(1);

ChildEnd RunProgram(const std::vector<std::string>& arguments,
                    std::chrono::milliseconds limit = kLong) {
  ChildEnd end;
  const auto program = ThisProgram().replace_filename("platform-child-program");
  EXPECT_EQ(RunChild(WidePathOf(program.string() + ThisProgram().extension().string()), arguments,
                     limit, end),
            kSuccess);
  return end;
}

TEST(Child, ItsStatusAndItsArgumentsAreTold) {
  const std::vector<std::string> arguments{
      "exit", "a b",         "\"", "\\", "a\\\"b\\\\", "", "\xC3\xA4 \xF0\x9F\x97\x9D",
      "*",    "$HOME %PATH%"};
  const ChildEnd end = RunProgram(arguments);
  EXPECT_EQ(end.kind, ChildEnd::Kind::kExited);
  EXPECT_EQ(end.status, 42U);
  std::string expected;
  for (std::size_t i = 1; i < arguments.size(); ++i) expected += arguments[i] + "\n";
  EXPECT_EQ(end.output, expected);
}

TEST(Child, OfMuchOutputTheEndIsKept) {
  const ChildEnd end = RunProgram({"talk", "the beginning"});
  EXPECT_EQ(end.status, 0U);
  EXPECT_EQ(end.output.size(), 0x10000U);
  EXPECT_TRUE(end.output.ends_with("\ntalk talk talk\n"));
}

TEST(Child, ACrashIsToldFromAnExit) {
  const ChildEnd end = RunProgram({"crash", "first words"});
  EXPECT_EQ(end.kind, ChildEnd::Kind::kCrashed);
  EXPECT_NE(end.status, 0U);
  EXPECT_EQ(end.output, "first words\n");
}

TEST(Child, OneThatDoesntEndIsEnded) {
  const ChildEnd end = RunProgram({"wait"}, std::chrono::milliseconds(300));
  EXPECT_EQ(end.kind, ChildEnd::Kind::kLate);
}

TEST(Child, WhatCantBeStartedIsToldByItsCode) {
  ChildEnd end;
  EXPECT_EQ(RunChild(WidePathOf(FixtureFolder() / "no-such-program"), {}, kLong, end),
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
}  // namespace larder::platform
