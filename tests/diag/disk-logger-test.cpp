#include "diag/disk-logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "diag/log-statement.h"
#include "testing/recorded-log.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

using testing::EndsWith;

constexpr std::uint32_t kLimit = 102400;

class DiskLog : public testing::Test {
 protected:
  std::filesystem::path File(int generation = 0) const {
    const std::string suffix = generation == 0 ? "" : "." + std::to_string(generation);
    return machine.Folder() / ("lr_1A2B.log" + suffix);
  }
  std::string Read(int generation = 0) const {
    std::ifstream file(File(generation), std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
  }
  void Fill(int generation, std::size_t size, char with = '.') const {
    std::ofstream(File(generation), std::ios::binary) << std::string(size, with);
  }
  bool Exists(int generation) const { return std::filesystem::exists(File(generation)); }

  // A logger that is fed directly and gone, with its lines on disk, when this returns.
  template <typename Feed>
  void WithLogger(Feed feed, std::uint32_t backups = 5) const {
    DiskLogger logger(machine.WideFolder() + LARDER_WIDE("lr_1A2B.log"), kLimit, backups);
    feed(logger);
  }

  TestMachine machine;
};

TEST_F(DiskLog, NothingTouchesTheDiskBeforeTheFirstLine) {
  WithLogger([](DiskLogger&) {});
  EXPECT_FALSE(Exists(0));
  WithLogger([](DiskLogger& logger) { logger.Log("first\r\n"); });
  WithLogger([](DiskLogger& logger) { logger.Log("second\r\n"); });
  EXPECT_EQ(Read(), "first\r\nsecond\r\n") << "a later logger goes on behind what is there";
}

TEST_F(DiskLog, AFileIsRotatedWhenItHasReachedTheLimitAndNotWhenALineWouldPassIt) {
  Fill(0, kLimit - 1);
  WithLogger([](DiskLogger& logger) { logger.Log("over\r\n"); });
  EXPECT_FALSE(Exists(1));
  EXPECT_EQ(Read().size(), kLimit + 5);
  WithLogger([](DiskLogger& logger) { logger.Log("next\r\n"); });
  EXPECT_THAT(Read(1), EndsWith("over\r\n"));
  EXPECT_EQ(Read(), "next\r\n");
  for (const std::uint32_t full : {kLimit, kLimit + 1}) {
    Fill(0, full);
    WithLogger([](DiskLogger& logger) { logger.Log("new\r\n"); });
    EXPECT_EQ(Read(1).size(), full);
    EXPECT_EQ(Read(), "new\r\n");
  }
}

TEST_F(DiskLog, FiveGenerationsAreKeptAndTheSixthIsGone) {
  Fill(0, kLimit, '0');
  for (int i = 1; i <= 5; ++i) Fill(i, 10, static_cast<char>('0' + i));
  WithLogger([](DiskLogger& logger) { logger.Log("new\r\n"); });
  EXPECT_EQ(Read(), "new\r\n");
  EXPECT_EQ(Read(1), std::string(kLimit, '0'));
  for (int i = 2; i <= 5; ++i) EXPECT_EQ(Read(i), std::string(10, static_cast<char>('0' + i - 1)));
  EXPECT_FALSE(Exists(6));
}

TEST_F(DiskLog, WithoutBackupsARotationDeletesTheFile) {
  Fill(0, kLimit);
  WithLogger([](DiskLogger& logger) { logger.Log("new\r\n"); }, 0);
  EXPECT_EQ(Read(), "new\r\n");
  EXPECT_FALSE(Exists(1));
}

TEST_F(DiskLog, ALineLongerThanTheLimitStaysWhole) {
  const std::string line(3 * kLimit, 'x');
  WithLogger([&](DiskLogger& logger) {
    logger.Log((line + "1\r\n").c_str());
    logger.Log((line + "2\r\n").c_str());
    logger.Log("short\r\n");
  });
  EXPECT_EQ(Read(2), line + "1\r\n");
  EXPECT_EQ(Read(1), line + "2\r\n");
  EXPECT_EQ(Read(), "short\r\n");
}

TEST_F(DiskLog, EveryQueuedLineIsInTheFilesInOrderWhenTheLoggerIsGone) {
  constexpr int kLines = 100000;  // more than the generations hold: the oldest fall off the end
  WithLogger([&](DiskLogger& logger) {
    for (int i = 0; i < kLines; ++i) logger.Log((std::to_string(i) + "\r\n").c_str());
  });
  std::string all;
  for (int generation = 5; generation >= 0; --generation) all += Read(generation);
  std::istringstream lines(all);
  int expected = kLines;
  for (const char c : all) expected -= c == '\n' ? 1 : 0;
  for (std::string line; std::getline(lines, line); ++expected) {
    ASSERT_EQ(line, std::to_string(expected) + "\r");
  }
  EXPECT_EQ(expected, kLines);
}

TEST_F(DiskLog, ThreadsKeepTheirOwnOrder) {
  constexpr int kThreads = 4;
  constexpr int kLines = 1000;
  WithLogger([&](DiskLogger& logger) {
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&logger, t] {
        for (int i = 0; i < kLines; ++i) {
          logger.Log((std::to_string(t) + " " + std::to_string(i) + "\r\n").c_str());
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  });
  std::istringstream lines(Read());
  int next[kThreads] = {};
  for (int t = 0, i = 0; lines >> t >> i;) ASSERT_EQ(i, next[t]++);
  for (const int count : next) EXPECT_EQ(count, kLines);
}

TEST_F(DiskLog, TheLineThatCausedARotationComesFirstAndTheClosingOfTheTemporaryFollows) {
  Fill(0, kLimit);
  WithLogger([](DiskLogger& logger) {
    LRLogListenerList::Instance().AddListener(&logger);
    RecordedLog log;  // hears a line when the logger has taken it
    LogTrace("the cause");
    log.WaitFor("Closing handle");
    LRLogListenerList::Instance().RemoveListener(&logger);
  });
  std::istringstream lines(Read());
  std::string line;
  std::getline(lines, line);
  EXPECT_THAT(line, EndsWith(": TRACE: the cause\r"));
  std::getline(lines, line);
  EXPECT_THAT(line, EndsWith(": TRACE: Closing handle FFFFFFFFFFFFFFFF\r"));
  EXPECT_FALSE(std::getline(lines, line)) << line;
}

TEST_F(DiskLog, AFileThatIsTakenAwayOrCutIsLivedWith) {
  WithLogger([&](DiskLogger& logger) {
    logger.Log("first\r\n");
    std::error_code ignored;
    std::filesystem::resize_file(File(), 0, ignored);  // some systems refuse it while we write
    std::filesystem::remove(File(), ignored);
    for (int i = 0; i < 10; ++i) logger.Log("more\r\n");
  });
  WithLogger([](DiskLogger& logger) { logger.Log("last\r\n"); });
  EXPECT_THAT(Read(), EndsWith("last\r\n"));
}

TEST_F(DiskLog, AFolderInTheFilesPlaceLosesTheLinesAndNothingElse) {
  std::filesystem::create_directory(File());
  WithLogger([](DiskLogger& logger) { logger.Log("lost\r\n"); });
  EXPECT_TRUE(std::filesystem::is_directory(File()));
  std::filesystem::remove(File());
  WithLogger([](DiskLogger& logger) { logger.Log("kept\r\n"); });
  EXPECT_EQ(Read(), "kept\r\n");
}

TEST_F(DiskLog, AGenerationThatCantBeMovedLetsTheFileGrow) {
  std::filesystem::create_directory(File(1));
  Fill(0, kLimit);
  WithLogger(
      [](DiskLogger& logger) {
        logger.Log("a\r\n");
        logger.Log("b\r\n");
      },
      1);
  EXPECT_THAT(Read(), EndsWith("a\r\nb\r\n"));
  EXPECT_EQ(Read().size(), kLimit + 6);
}

}  // namespace
}  // namespace larder
