#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <thread>

#include "log-file/disk-log.h"
#include "log/log-statement.h"
#include "testing/recorded-log.h"

namespace larder {
namespace {

using testing::EndsWith;

TEST_F(DiskLog, NothingTouchesTheDiskBeforeTheFirstLine) {
  LogLines("never", 0);
  EXPECT_FALSE(Exists(0));
  LogLines("first\r\n");
  LogLines("second\r\n");
  EXPECT_EQ(Read(), "first\r\nsecond\r\n") << "a later logger goes on behind what is there";
}

// The stop comes at whatever point the writer has reached.
TEST_F(DiskLog, ALineRightBeforeTheEndIsWritten) {
  for (int i = 0; i < 300; ++i) LogLines("x");
  EXPECT_EQ(Read().size(), 300U);
}

TEST_F(DiskLog, AFileIsRotatedWhenItHasReachedTheLimitAndNotWhenALineWouldPassIt) {
  Fill(0, kLimit - 1);
  LogLines("over\r\n");
  EXPECT_FALSE(Exists(1));
  EXPECT_EQ(Read().size(), kLimit + 5);
  Fill(0, kLimit);
  LogLines("new\r\n");
  EXPECT_EQ(Read(1).size(), kLimit);
  EXPECT_EQ(Read(), "new\r\n");
}

TEST_F(DiskLog, FiveGenerationsAreKeptAndTheSixthIsGone) {
  Fill(0, kLimit, '0');
  for (int i = 1; i <= 5; ++i) Fill(i, 10, static_cast<char>('0' + i));
  LogLines("new\r\n");
  EXPECT_EQ(Read(), "new\r\n");
  EXPECT_EQ(Read(1), std::string(kLimit, '0'));
  for (int i = 2; i <= 5; ++i) EXPECT_EQ(Read(i), std::string(10, static_cast<char>('0' + i - 1)));
  EXPECT_FALSE(Exists(6));
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
  LogLines("last\r\n");
  EXPECT_THAT(Read(), EndsWith("last\r\n"));
}

TEST_F(DiskLog, AFolderInTheFilesPlaceLosesTheLinesAndNothingElse) {
  std::filesystem::create_directory(File());
  LogLines("lost\r\n");
  EXPECT_TRUE(std::filesystem::is_directory(File()));
  std::filesystem::remove(File());
  LogLines("kept\r\n");
  EXPECT_EQ(Read(), "kept\r\n");
}

TEST_F(DiskLog, AGenerationThatCantBeMovedLetsTheFileGrow) {
  std::filesystem::create_directory(File(1));
  Fill(0, kLimit);
  LogLines("a\r\n", 2, 1);
  EXPECT_EQ(Read().size(), kLimit + 6);
}

}  // namespace
}  // namespace larder
