// The reader of a run beside a host that writes and rotates, in many orders of their steps.
#include "tools/larder/log/log-reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/file.h"
#include "product/product.h"
#include "tools/larder/log/log-runs.h"

namespace larder {
namespace {

struct MemoryFile {
  std::uint64_t index;
  std::string bytes;
};
struct Reading {
  std::shared_ptr<MemoryFile> file;
  std::size_t position = 0;
};

// In place of the platform's files, so that a host's steps can come between any two operations of a
// reader.
std::map<WideString, std::shared_ptr<MemoryFile>> Files;
std::vector<std::unique_ptr<Reading>> Readings;
std::function<void()> BeforeEachOperation;

Reading& ReadingOf(platform::Handle file) { return *reinterpret_cast<Reading*>(file); }

}  // namespace

platform::Code platform::OpenFileToRead(const WideString& path, Handle& file, FileKind& kind) {
  BeforeEachOperation();
  kind = FileKind::kRegular;
  const auto found = Files.find(path);
  file = InvalidHandle();
  if (found == Files.end()) return kFileNotFound;
  Readings.push_back(std::make_unique<Reading>(Reading{found->second}));
  file = reinterpret_cast<Handle>(Readings.back().get());
  return kSuccess;
}

platform::Code platform::QueryFileInfo(Handle file, FileInfo& info) noexcept {
  info = {};
  info.size = ReadingOf(file).file->bytes.size();
  info.index = ReadingOf(file).file->index;
  return kSuccess;
}

platform::Code platform::ReadNext(Handle file, void* buffer, std::size_t size,
                                  std::size_t& bytesRead) noexcept {
  BeforeEachOperation();
  Reading& reading = ReadingOf(file);
  const std::string& bytes = reading.file->bytes;
  const std::size_t start = std::min(reading.position, bytes.size());  // it may have been emptied
  bytesRead = bytes.copy(static_cast<char*>(buffer), size, start);
  reading.position += bytesRead;
  return kSuccess;
}

// Of a host's loggers, which aren't run here.
platform::Code platform::RemoveFile(const WideString&) { return kNotSupported; }
platform::Code platform::RenameFile(const WideString&, const WideString&) { return kNotSupported; }

namespace tool {
namespace {

const WideString kRun = LARDER_WIDE("\\logs\\lr_1.log");

void Append(const std::string& bytes) {
  static std::uint64_t lastIndex = 0;
  auto& file = Files[kRun];
  if (!file) file = std::make_shared<MemoryFile>(MemoryFile{++lastIndex, {}});
  file->bytes += bytes;
}

// As a system does: nothing happens without a file, or with one at the new path.
void Rename(const WideString& from, const WideString& to) {
  if (Files.contains(from) && !Files.contains(to)) Files[to] = Files.extract(from).mapped();
}

// The steps that a logger takes, one system call each, and the lines that come of them.
class Host {
 public:
  void PlanLine() {
    const std::string line = "line " + std::to_string(count++);
    lines += line + "\n";
    steps.emplace_back([=] { Append(line + "\r\n"); });
  }
  void PlanRotation() {
    steps.emplace_back([] { Files.erase(GenerationPath(kRun, kMaxLogGenerations)); });
    for (std::uint32_t i = kMaxLogGenerations; i > 0; --i) {
      steps.emplace_back([=] { Rename(GenerationPath(kRun, i - 1), GenerationPath(kRun, i)); });
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
  std::deque<std::function<void()>> steps;
  std::string lines;
  int count = 0;
};

void Clear() {
  Files.clear();
  Readings.clear();
  BeforeEachOperation = [] {};
}

// No steps of the host come before the reader's first operations, then some before each.
void FollowAtPace(std::size_t idleOperations, std::size_t stepsEach) {
  Clear();
  Host host;
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
  BeforeEachOperation = [&] {
    if (++operations > idleOperations) host.TakeSteps(stepsEach);
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
      << idleOperations << " operations, then " << stepsEach << " steps before each";
}

TEST(LogReaderTest, NoLineIsLostOrRepeatedWhereverTheHostRotates) {
  for (std::size_t idle = 0; idle < 60; ++idle) {
    for (const std::size_t steps : {1U, 2U, 3U, 5U, 8U, 100U}) FollowAtPace(idle, steps);
  }
}

// What a reader prints at first and after each change. Finish: whether nothing was lost.
std::string Follow(const std::vector<std::function<void()>>& changes, bool finish) {
  Clear();
  testing::internal::CaptureStdout();
  Output output;
  LogReader reader(kRun, output);
  changes.front()();
  EXPECT_TRUE(reader.PrintAll());
  for (std::size_t i = 1; i < changes.size(); ++i) {
    changes[i]();
    while (reader.PrintNews()) {
    }
  }
  EXPECT_EQ(reader.Finish(), finish);
  EXPECT_TRUE(output.Finish());
  return testing::internal::GetCapturedStdout();
}

TEST(LogReaderTest, ACutLineAnEmptiedFileAndADeletedOneAreReadOn) {
  const auto empty = [] { Files[kRun]->bytes = "short\r\n"; };
  const auto remove = [] {
    Files.clear();
    Append("new\r\n");
  };
  EXPECT_EQ(Follow({[] { Append("whole\r\nbeg"); }, [] { Append("inning\r\n"); }, empty,
                    [] { Append("next\r\n"); }, remove},
                   true),
            "whole\nbeginning\nshort\nnext\nnew\n");
}

TEST(LogReaderTest, LinesThatWereRotatedAwayUnreadAreReportedAsLost) {
  Host host;
  host.PlanLine();
  testing::internal::CaptureStderr();
  const auto rotateAll = [&] {
    for (std::uint32_t i = 0; i <= kMaxLogGenerations + 1; ++i) {
      host.PlanRotation();
      host.PlanLine();
    }
    host.TakeSteps(~std::size_t{0});
  };
  EXPECT_EQ(Follow({[&] { host.TakeSteps(1); }, rotateAll}, false),
            "line 0\nline 2\nline 3\nline 4\nline 5\nline 6\nline 7\n");
  EXPECT_TRUE(testing::internal::GetCapturedStderr().ends_with(
      "lr_1.log was rotated faster than it could be printed: lines are lost\n"));
}

}  // namespace
}  // namespace tool
}  // namespace larder
