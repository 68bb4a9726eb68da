// A trace session from its start to its end.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <optional>

#include "log/linux/lttng-daemon.h"
#include "platform/linux/lttng-object.h"
#include "testing/process.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

class TraceTest : OrdinaryUser, public ToolTest {
 protected:
  void SetUp() override {
    if (!OrdinaryUser::IsThisUser()) GTEST_SKIP() << "only root can enter the build folder";
    if (!LttngDaemon::IsInstalled()) GTEST_SKIP() << "lttng-tools or babeltrace2 isn't installed";
    daemon.emplace(machine.Folder());
  }

  void Fails(const Words& arguments, const std::string& error) const {
    const ToolRun run = Run(tool, arguments);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.errors, HasSubstr(error));
  }

  std::optional<LttngDaemon> daemon;
};

Words LinesOf(const std::string& text) {
  Words lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// The library logs the name of a module that it can't load.
TEST_F(TraceTest, ASessionRecordsLinesByteForByteAndIsReadWhileItRunsAndAfterwards) {
  const std::string name = "\"a\\b\" \t\x1B\n, { line = \"x\" } \xC3\xA9 %s \\n \x7F";
  MustRun({"registry", "set", "DataProviders\\X", "szDLL", name});
  EXPECT_THAT(MustRun({"trace", "start", "--output", "trace"}), HasSubstr("/trace\n"));
  Fails({"trace", "start"}, "a session of this user runs already");
  Run(tool, {"query", "x"});

  const std::string shown = MustRun({"trace", "show"});
  EXPECT_THAT(shown, HasSubstr("\tTRACE: Entering LarderInit()\n"));
  EXPECT_THAT(
      MustRun({"trace", "stop"}),
      EndsWith("lines       " + std::to_string(LinesOf(shown).size()) + "\nlost        0\n"));
  EXPECT_EQ(MustRun({"trace", "show", "trace"}), shown);
  Fails({"trace", "start", "--output", "trace"}, "it isn't empty");
  Fails({"trace", "stop"}, "no session of this user runs");

  const std::string expected = "TRACE: Loading data provider " + name;
  Words found;
  for (const std::string& line : LinesOf(MustRun({"trace", "show", "--json"}))) {
    const auto event = nlohmann::json::parse(line);
    EXPECT_EQ(event["process"], "larder");
    if (event["line"] == expected) found.push_back(event["line"]);
  }
  EXPECT_THAT(found, ElementsAre(expected));
}

TEST_F(TraceTest, AStartThatFailsHalfwayLeavesNothing) {
  MakeFile("lttng", "#!/bin/sh\ntest $1 != start && exec /usr/bin/lttng \"$@\"\n");
  std::filesystem::permissions("lttng", std::filesystem::perms::owner_all);
  SetEnvironmentText("PATH", machine.Folder());
  Fails({"trace", "start", "--output", "trace"}, "cannot start the session: exit status 1");
  EXPECT_FALSE(std::filesystem::exists("trace"));
  SetEnvironmentText("PATH", "/usr/bin:/bin");
  MustRun({"trace", "start", "--output", "trace"});
}

// A line that doesn't fit into a buffer is lost as if the buffer were full.
TEST_F(TraceTest, WhatASessionHasLostIsCounted) {
  MustRun({"trace", "start", "--output", "trace"});
  void* const module = dlopen(BuiltFile(platform::kLttngObjectName).c_str(), RTLD_NOW);
  ASSERT_NE(module, nullptr);
  const auto get =
      reinterpret_cast<platform::GetLttngObject>(dlsym(module, platform::kGetLttngObject));
  get()->recordLine(std::string(1'000'000, 'x').c_str());
  get()->recordDroppedLine(65'537);
  get()->recordLine("last");
  EXPECT_THAT(MustRun({"trace", "stop"}),
              EndsWith("lines       1\nlost        1\ntoo long    1\n"));
  EXPECT_EQ(Run(tool, {"trace", "show"}).errors,
            "larder: lines that are missing because the session's buffers were full: more than 0\n"
            "larder: lines that are missing because they have more than 64 KiB: 1\n");
}

}  // namespace
}  // namespace larder
