// A full disk and a killed host, which Linux lets a test arrange.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "log-file/disk-log.h"
#include "platform/linux/child-process.h"

namespace larder {
namespace {

TEST_F(DiskLog, LosesLinesWhileTheDiskIsFullAndGoesOnAfterwards) {
  const auto fillDisk = [&] {
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {25, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    LogLines("ten bytes\n", 30);
    setrlimit(RLIMIT_FSIZE, &limit);
    LogLines("room again\n");
    return 0;
  };
  EXPECT_EQ(RunInChild(fillDisk), 0);
  EXPECT_EQ(Read(), "ten bytes\nten bytes\nten broom again\n");
  EXPECT_FALSE(std::filesystem::exists(File(1)));
}

TEST_F(DiskLog, RotatesAFileThatAnotherProgramHasFilled) {
  WithLogger([&](DiskLogger& logger) {
    logger.Log("a\n");
    while (Read() != "a\n") sched_yield();
    std::ofstream(File(), std::ios::binary | std::ios::app) << std::string(kLimit, '.');
    logger.Log("b\n");
  });
  EXPECT_EQ(Read(), "b\n");
  EXPECT_EQ(Read(1).size(), kLimit + 2);
}

TEST_F(DiskLog, AForkedChildDoesNotKeepTheLogFromBeingOpenedAgain) {
  std::filesystem::create_directory(File(1));  // so that the file is opened again for each line
  int gate[2];
  ASSERT_EQ(pipe(gate), 0);
  pid_t child = 0;
  const auto forkBetweenLines = [&](DiskLogger& logger) {
    logger.Log("before\n");
    while (Read().empty()) sched_yield();
    child = StartChild([&] {
      char byte = 0;
      return close(gate[1]) == 0 && read(gate[0], &byte, 1) == 0 ? 0 : 1;
    });
    logger.Log("after\n");
  };
  WithLogger(forkBetweenLines, 1, 1);
  for (const int end : gate) close(end);
  EXPECT_EQ(WaitForChild(child), 0);
  EXPECT_EQ(Read(), "before\nafter\n");
}

TEST_F(DiskLog, AKilledHostLeavesItsLinesInOrder) {
  int started[2];
  ASSERT_EQ(pipe(started), 0);
  const auto logOn = [&](DiskLogger& logger) {
    for (int i = 0; i < 1'000'000; ++i) {  // the queue has no limit, and the reader may be slow
      logger.Log((std::to_string(i) + " is a line\n").c_str());
      if (i == 1000 && write(started[1], "x", 1) != 1) return;
    }
    pause();
  };
  const pid_t host = StartChild([&] {
    WithLogger(logOn, 0, UINT32_MAX);
    return 1;
  });
  char byte = 0;
  ASSERT_EQ(read(started[0], &byte, 1), 1);
  while (Read().empty()) sched_yield();
  kill(host, SIGKILL);
  EXPECT_EQ(WaitForChild(host), -1);
  const std::string all = Read();
  std::string lines;
  for (int i = 0; lines.size() < all.size(); ++i) lines += std::to_string(i) + " is a line\n";
  // Not EXPECT_EQ: the difference of so many lines would take all memory.
  EXPECT_TRUE(all == lines.substr(0, all.size())) << "only the last line may be cut";
}

}  // namespace
}  // namespace larder
