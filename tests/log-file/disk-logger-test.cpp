#include <gmock/gmock.h>

#include <sstream>
#include <thread>

#include "log-file/disk-log.h"
#include "log/log-statement.h"
#include "testing/recorded-log.h"

namespace larder {
namespace {

// The stop reaches the writer at a different point each time.
TEST_F(DiskLog, CreatesTheFileForTheFirstLineAndWritesALineThatComesRightBeforeTheStop) {
  LogLines("never", 0);
  EXPECT_FALSE(std::filesystem::exists(File()));
  for (int i = 0; i < 300; ++i) LogLines("x");
  EXPECT_EQ(Read(), std::string(300, 'x'));
}

TEST_F(DiskLog, RotatesAFileThatHasReachedTheLimitAndKeepsFiveGenerations) {
  for (int i = 0; i <= 5; ++i) Fill(i, kLimit - 1, static_cast<char>('0' + i));
  LogLines("a");  // a line may pass the limit
  EXPECT_EQ(Read(1).front(), '1');
  LogLines("new\r\n");
  EXPECT_EQ(Read(), "new\r\n");
  EXPECT_EQ(Read(1), std::string(kLimit - 1, '0') + "a");
  for (int i = 2; i <= 5; ++i) EXPECT_EQ(Read(i).front(), '0' + i - 1);
  EXPECT_FALSE(std::filesystem::exists(File(6)));
}

TEST_F(DiskLog, KeepsEachThreadsOrderThroughAllGenerations) {
  constexpr int kThreads = 4;
  constexpr int kLines = 25000;  // more than the generations hold: the first ones are lost
  WithLogger([](DiskLogger& logger) {
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&logger, t] {
        for (int i = 1; i <= kLines; ++i) {
          logger.Log((std::to_string(t) + " " + std::to_string(i) + "\r\n").c_str());
        }
      });
    }
  });
  std::string all;
  for (int generation = 5; generation >= 0; --generation) all += Read(generation);
  std::istringstream lines(all);
  int last[kThreads] = {};
  for (int t = 0, i = 0; lines >> t >> i; last[t] = i) {
    ASSERT_TRUE(last[t] == 0 || i == last[t] + 1) << t << " " << i;
  }
  EXPECT_THAT(last, testing::Contains(kLines));
  // No line is left of a thread that was done early.
  EXPECT_THAT(last, testing::Each(testing::AnyOf(0, kLines)));
}

TEST_F(DiskLog, TheLineThatCausedARotationComesBeforeTheClosingOfTheTemporaryHandle) {
  Fill(0, kLimit);
  WithLogger([](DiskLogger& logger) {
    LRLogListenerList::Instance().AddListener(&logger);
    RecordedLog log;  // gets a line after the logger has
    LogTrace("the cause");
    log.WaitFor("Closing handle");
    LRLogListenerList::Instance().RemoveListener(&logger);
  });
  EXPECT_THAT(Read(), testing::MatchesRegex(
                          "../../.. ..:..:..: TRACE: the cause\r\n"
                          "../../.. ..:..:..: TRACE: Closing handle FFFFFFFFFFFFFFFF\r\n"));
}

TEST_F(DiskLog, LosesLinesOrGrowsWhereAFolderIsInTheWay) {
  std::filesystem::create_directory(File());
  LogLines("lost\r\n");
  std::filesystem::remove(File());
  LogLines("kept\r\n");
  EXPECT_EQ(Read(), "kept\r\n");

  std::filesystem::create_directory(File(1));
  Fill(0, kLimit);
  LogLines("a\r\n", 2, 1);
  EXPECT_EQ(Read().size(), kLimit + 6);
}

}  // namespace
}  // namespace larder
