// What goes wrong with files on a system that lets it go wrong.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "diag/disk-logger.h"
#include "platform/linux/child-process.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

constexpr std::uint32_t kLimit = 102400;

class DiskLogOnLinux : public testing::Test {
 protected:
  std::filesystem::path File(const char* suffix = "") const {
    return machine.Folder() / (std::string("lr_1.log") + suffix);
  }
  std::string Read(const char* suffix = "") const {
    std::ifstream file(File(suffix), std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
  }
  WideString WideFile() const { return machine.WideFolder() + LARDER_WIDE("lr_1.log"); }

  TestMachine machine;
};

TEST_F(DiskLogOnLinux, AFullDiskTearsOneLineAndLoggingGoesOnWhenThereIsRoom) {
  const int result = RunInChild([&] {
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {100, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    {
      DiskLogger logger(WideFile(), kLimit, 5);
      for (int i = 0; i < 30; ++i) logger.Log("ten bytes\n");
    }
    setrlimit(RLIMIT_FSIZE, &limit);
    DiskLogger logger(WideFile(), kLimit, 5);
    logger.Log("room again\n");
    return 0;
  });
  EXPECT_EQ(result, 0);
  std::string expected;
  for (int i = 0; i < 10; ++i) expected += "ten bytes\n";
  EXPECT_EQ(Read(), expected + "room again\n");
  EXPECT_FALSE(std::filesystem::exists(File(".1")));
}

TEST_F(DiskLogOnLinux, AKilledHostLeavesItsLinesInOrder) {
  int started[2];
  ASSERT_EQ(pipe(started), 0);
  const pid_t host = StartChild([&]() -> int {
    DiskLogger logger(WideFile(), 10 * kLimit, 5);
    for (int i = 0;; ++i) {
      logger.Log((std::to_string(i) + " is a line\n").c_str());
      if (i == 1000 && write(started[1], "x", 1) != 1) return 1;
    }
  });
  char byte = 0;
  ASSERT_EQ(read(started[0], &byte, 1), 1);
  while (Read(".1").empty() && Read().empty()) sched_yield();
  kill(host, SIGKILL);
  EXPECT_EQ(WaitForChild(host), -1);
  // The kill may cut the system's last write short.
  const std::string all = Read(".1") + Read();
  std::string lines;
  for (int i = 0; lines.size() < all.size(); ++i) lines += std::to_string(i) + " is a line\n";
  EXPECT_EQ(all, lines.substr(0, all.size()));
}

TEST_F(DiskLogOnLinux, WhatIsPlantedAtTheLogsNameIsNotFollowed) {
  const std::filesystem::path victim = machine.Folder() / "victim";
  std::ofstream(victim) << "precious";
  std::filesystem::create_symlink(victim, File());
  {
    DiskLogger logger(WideFile(), kLimit, 5);
    logger.Log("line\n");
  }
  std::ifstream file(victim);
  std::string text;
  std::getline(file, text);
  EXPECT_EQ(text, "precious");
  EXPECT_TRUE(std::filesystem::is_symlink(File()));

  std::filesystem::remove(File());
  ASSERT_EQ(mkfifo(File().c_str(), 0644), 0);
  {
    DiskLogger logger(WideFile(), kLimit, 5);
    logger.Log("line\n");  // opening a pipe that nobody reads would block the writer for ever
  }
  EXPECT_TRUE(std::filesystem::is_fifo(File()));
}

TEST_F(DiskLogOnLinux, AReadOnlyFolderLosesTheLinesOnly) {
  std::filesystem::permissions(machine.Folder(), std::filesystem::perms(0555));
  EXPECT_EQ(RunAsNobody([&] {
              DiskLogger logger(WideFile(), kLimit, 5);
              for (int i = 0; i < 100; ++i) logger.Log("line\n");
              return 0;
            }),
            0);
  EXPECT_FALSE(std::filesystem::exists(File()));
  std::filesystem::permissions(machine.Folder(), std::filesystem::perms(0755));
}

}  // namespace
}  // namespace larder
