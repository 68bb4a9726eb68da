// A host that forks while it logs: its children have no handle and may build one.
#include <gtest/gtest.h>
#include <larder/larder.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "host/host-machine.h"
#include "log-file/log-files.h"
#include "support/paths.h"

namespace larder {
namespace {

class Fork : public testing::Test {
 protected:
  Fork() {
    host.AddProvider("F", "feed-file.dll");
    host.AddModule("stock-file-query.dll");
    EnableLogging();
  }

  HostMachine host;
};

// Queries a file that always exists.
std::int32_t QueryFile(LarderHandle handle) {
  const TestDescriptor file(LARDER_WIDE("\\proc\\self\\exe"));
  DataBlockHeader* data = nullptr;
  const std::int32_t result = LarderQuery(handle, &file, 1, 0, &data, 1);
  return result == LARDER_OK ? LarderFreeQuery(handle, data) : result;
}

// A handle's life in a child, which exits as a program does.
[[noreturn]] void LiveAndExit() {
  LarderHandle handle = nullptr;
  const bool good = LarderRelease() == LARDER_E_INVALID_HANDLE &&
                    LarderInit(UnexpectedCall, &handle) == LARDER_OK &&
                    QueryFile(handle) == LARDER_OK && QueryFile(handle) == LARDER_OK &&
                    LarderRelease() == LARDER_OK;
  exit(good ? 0 : 1);
}

int ResultOf(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Fork, AChildMayBuildAHandleWithLogAndStoreOrExitAndTheParentContinues) {
  LarderHandle handle = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  EXPECT_EQ(QueryFile(handle), LARDER_OK);
  const pid_t living = fork();
  if (living == 0) LiveAndExit();
  EXPECT_EQ(QueryFile(handle), LARDER_OK);
  EXPECT_EQ(ResultOf(living), 0);
  const pid_t leaving = fork();
  if (leaving == 0) exit(0);
  EXPECT_EQ(ResultOf(leaving), 0);
  EXPECT_EQ(QueryFile(handle), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  // One for the parent and one for the child that built a handle.
  const auto logs = GetLogFiles(LARDER_WIDE("lr_*.log"));
  EXPECT_EQ(logs.size(), 2U);
  for (const WideString& log : logs)
    EXPECT_EQ(CountLinesContaining(log, " created new handle"), 1U);
}

TEST_F(Fork, AChildNeverWaitsForThreadsThatOnlyTheParentHas) {
  LarderHandle kept = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &kept), LARDER_OK);
  std::atomic<bool> isDone{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {
      while (!isDone) {
        LarderHandle handle = nullptr;
        LarderInit(UnexpectedCall, &handle);
        LarderRelease();
      }
    });
  }
  for (int i = 0; i < 20; ++i) {
    const pid_t child = fork();
    if (child == 0) LiveAndExit();
    EXPECT_EQ(ResultOf(child), 0);
  }
  isDone = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

}  // namespace
}  // namespace larder
