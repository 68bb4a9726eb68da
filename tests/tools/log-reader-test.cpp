// The reader of a run beside a host that writes and rotates, in many orders of their steps.
#include "log-reader.h"

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <string>

#include "log-runs.h"
#include "tools/memory-logs.h"

namespace larder::tool {
namespace {

const WideString kRun = LARDER_WIDE("\\logs\\lr_1.log");

// The steps that a logger takes, one system call each, and the lines that come of them.
class Host {
 public:
  explicit Host(MemoryLogs& target) : logs(target) {}

  void PlanLine() {
    const std::string line = "line " + std::to_string(count++);
    lines += line + "\n";
    Plan([=, this] { logs.Append(kRun, line + "\r\n"); });
  }
  void PlanRotation() {
    Plan([this] { logs.Remove(GenerationPath(kRun, kOldestGeneration)); });
    for (std::uint32_t i = kOldestGeneration; i > 0; --i) {
      Plan([=, this] { logs.Rename(GenerationPath(kRun, i - 1), GenerationPath(kRun, i)); });
    }
  }
  void TakeSteps(std::size_t wanted) {
    for (; wanted > 0 && !steps.empty(); --wanted) {
      steps.front()();
      steps.pop_front();
    }
  }

  bool HasSteps() const { return !steps.empty(); }
  const std::string& Lines() const { return lines; }

 private:
  void Plan(const std::function<void()>& step) { steps.push_back(step); }

  MemoryLogs& logs;
  std::deque<std::function<void()>> steps;
  std::string lines;
  int count = 0;
};

// How the host's steps come between the reader's: none before the first operations, then some
// before each.
struct Pace {
  std::size_t idleOperations;
  std::size_t stepsEach;
};

void FollowAtPace(Pace pace) {
  MemoryLogs logs;
  Host host(logs);
  for (int i = 0; i < 2; ++i) {
    host.PlanLine();
    host.PlanRotation();
  }
  host.PlanLine();
  host.TakeSteps(~std::size_t{0});
  for (int i = 0; i < 3; ++i) {  // as many files as are kept hold all that wasn't there at first
    host.PlanLine();
    host.PlanRotation();
    host.PlanLine();
  }
  std::size_t operations = 0;
  logs.beforeEachOperation = [&] {
    if (++operations > pace.idleOperations) host.TakeSteps(pace.stepsEach);
  };
  testing::internal::CaptureStdout();
  Output output;
  LogReader reader(kRun, output);
  EXPECT_TRUE(reader.PrintAll());
  for (bool hadSteps = true; hadSteps;) {
    hadSteps = host.HasSteps();
    while (reader.PrintNews()) {
    }
  }
  EXPECT_TRUE(reader.Finish());
  EXPECT_TRUE(output.Finish());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), host.Lines())
      << pace.idleOperations << " operations, then " << pace.stepsEach << " steps before each";
}

TEST(LogReaderTest, NoLineIsLostOrRepeatedWhereverTheHostRotates) {
  for (std::size_t idle = 0; idle < 60; ++idle) {
    for (const std::size_t steps : {1U, 2U, 3U, 5U, 8U, 100U}) FollowAtPace({idle, steps});
  }
}

}  // namespace
}  // namespace larder::tool
