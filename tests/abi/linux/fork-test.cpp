// A host that forks while it logs: each child is a process without a handle, and may build one.
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

// A machine with the test provider, logging switched on.
class Fork : public testing::Test {
 protected:
  Fork() {
    host.AddProvider("T", "feed-test.dll");
    host.AddModule("stock-file-query.dll");
    EnableLogging();
  }

  HostMachine host;
};

// A handle's whole life in a child; ends it as a program ends.
[[noreturn]] void LiveAndExit() {
  LarderHandle handle = nullptr;
  const TestDescriptor descriptor(LARDER_WIDE("a"));
  DataBlockHeader* data = nullptr;
  if (LarderRelease() != LARDER_E_INVALID_HANDLE) exit(2);
  if (LarderInit(UnexpectedCall, &handle) != LARDER_OK) exit(3);
  if (LarderQuery(handle, &descriptor, 2, 0, &data, 1) != LARDER_E_NO_DATA) exit(4);
  if (LarderRelease() != LARDER_OK) exit(5);
  exit(0);
}

int ResultOf(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Fork, AChildMayBuildAHandleOfItsOwnOrExitAndTheParentGoesOn) {
  LarderHandle handle = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  const pid_t living = fork();
  if (living == 0) LiveAndExit();
  EXPECT_EQ(ResultOf(living), 0);
  const pid_t leaving = fork();
  if (leaving == 0) exit(0);
  EXPECT_EQ(ResultOf(leaving), 0);
  const TestDescriptor descriptor(LARDER_WIDE("a"));
  DataBlockHeader* data = nullptr;
  EXPECT_EQ(LarderQuery(handle, &descriptor, 2, 0, &data, 1), LARDER_E_NO_DATA);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  // One log for the parent, one for the child that lived, each with its own lines only.
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

// Asks for the facts about a file that is always there.
std::int32_t QueryFile(LarderHandle handle) {
  const TestDescriptor file(LARDER_WIDE("\\proc\\self\\exe"));
  DataBlockHeader* data = nullptr;
  const std::int32_t result = LarderQuery(handle, &file, 1, 0, &data, 1);
  return result == LARDER_OK ? LarderFreeQuery(handle, data) : result;
}

[[noreturn]] void QueryFileAndExit() {
  LarderHandle handle = nullptr;
  if (LarderInit(UnexpectedCall, &handle) != LARDER_OK) exit(2);
  if (QueryFile(handle) != LARDER_OK || QueryFile(handle) != LARDER_OK) exit(3);
  if (LarderRelease() != LARDER_OK) exit(4);
  exit(0);
}

TEST_F(Fork, AChildHasTheFileProvidersStoreForItself) {
  host.AddProvider("F", "feed-file.dll");
  LarderHandle handle = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(QueryFile(handle), LARDER_OK);
    const pid_t child = fork();
    if (child == 0) QueryFileAndExit();
    EXPECT_EQ(QueryFile(handle), LARDER_OK);
    EXPECT_EQ(ResultOf(child), 0);
  }
  EXPECT_EQ(QueryFile(handle), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

}  // namespace
}  // namespace larder
