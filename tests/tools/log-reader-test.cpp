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

// Replace the platform's files, so that a host's steps can come between any two operations of a
// reader.
std::map<WideString, std::shared_ptr<MemoryFile>> Files;
std::deque<Reading> Readings;
std::function<void()> BeforeEachOperation;

Reading& ReadingOf(platform::Handle file) { return *reinterpret_cast<Reading*>(file); }

}  // namespace

platform::Code platform::OpenFileToRead(const WideString& path, Handle& file, FileKind& kind) {
  BeforeEachOperation();
  kind = FileKind::kRegular;
  const auto found = Files.find(path);
  file = InvalidHandle();
  if (found == Files.end()) return kFileNotFound;
  file = reinterpret_cast<Handle>(&Readings.emplace_back(Reading{found->second}));
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

// Hosts' loggers and the list of runs call these; neither is used here.
void platform::CloseObject(Handle) noexcept {}

platform::Code platform::QueryPathInfo(const WideString&, FileInfo&, FileKind&) {
  return kNotSupported;
}
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

class LogReaderTest : public testing::Test {
 protected:
  LogReaderTest() { Clear(); }

  void Clear() {
    Files.clear();
    Readings.clear();
    BeforeEachOperation = [] {};
    lines.clear();
  }

  // A logger's steps, one system call each.
  void PlanLine() {
    const std::string line = "line " + std::to_string(std::ranges::count(lines, '\n'));
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
  void TakeAllSteps() { TakeSteps(steps.size()); }

  std::string lines;  // that were planned
  std::deque<std::function<void()>> steps;
};

using Changes = std::vector<std::function<void()>>;

// What a reader prints at first and after each change.
std::string Follow(const Changes& changes, bool isComplete) {
  testing::internal::CaptureStdout();
  Output output;
  LogReader reader(kRun, output);
  EXPECT_TRUE(reader.PrintAll());
  for (const auto& change : changes) {
    change();
    while (reader.PrintNews()) {
    }
  }
  EXPECT_EQ(reader.Finish(), isComplete);
  EXPECT_TRUE(output.Finish());
  return testing::internal::GetCapturedStdout();
}

TEST_F(LogReaderTest, NoLineIsLostOrRepeatedWhereverTheHostRotates) {
  for (std::size_t idleOperations = 0; idleOperations < 60; ++idleOperations) {
    for (const std::size_t stepsEach : {1U, 2U, 3U, 5U, 8U, 100U}) {
      Clear();
      for (int rotation = 0; rotation < 5; ++rotation) {
        if (rotation == 2) TakeAllSteps();
        PlanLine();
        PlanRotation();
        PlanLine();
      }
      std::size_t operations = 0;
      BeforeEachOperation = [&] {
        if (++operations > idleOperations) TakeSteps(stepsEach);
      };
      EXPECT_EQ(Follow(Changes(60, [] {}), true), lines) << idleOperations << " " << stepsEach;
      EXPECT_TRUE(steps.empty());
    }
  }
}

TEST_F(LogReaderTest, FollowsACutLineAnEmptiedFileAndADeletedOne) {
  const auto empty = [] { Files[kRun]->bytes = "short\r\n"; };
  const auto remove = [] {
    Files.clear();
    Append("new\r\n");
  };
  Append("whole\r\nbeg");
  EXPECT_EQ(Follow({[] { Append("inning\r\n"); }, empty, [] { Append("next\r\n"); }, remove}, true),
            "whole\nbeginning\nshort\nnext\nnew\n");
}

TEST_F(LogReaderTest, LinesThatWereRotatedAwayUnreadAreReportedAsLost) {
  Append("first\r\n");
  for (std::uint32_t i = 0; i <= kMaxLogGenerations + 1; ++i) {
    PlanRotation();
    PlanLine();
  }
  testing::internal::CaptureStderr();
  EXPECT_EQ(Follow({[&] { TakeAllSteps(); }}, false),
            "first\nline 1\nline 2\nline 3\nline 4\nline 5\nline 6\n");
  EXPECT_TRUE(testing::internal::GetCapturedStderr().ends_with(
      "lr_1.log was rotated faster than it could be printed: lines are lost\n"));
}

}  // namespace
}  // namespace tool
}  // namespace larder
