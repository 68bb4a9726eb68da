// A host that forks while it logs. Its children have no handle.
#include <gtest/gtest.h>
#include <larder/larder.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "host/host-machine.h"
#include "log-file/log-files.h"

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
  const bool good = LarderInit(UnexpectedCall, &handle) == LARDER_OK &&
                    QueryFile(handle) == LARDER_OK && LarderRelease() == LARDER_OK;
  exit(good ? 0 : 1);
}

// Every call is refused. handle: the parent's.
[[noreturn]] void BeRefusedAndExit(LarderHandle handle) {
  const bool good = QueryFile(handle) == LARDER_E_INVALID_HANDLE &&
                    LarderRelease() == LARDER_E_INVALID_HANDLE &&
                    LarderInit(UnexpectedCall, &handle) == LARDER_E_DB_OPEN_FAILED;
  exit(good && handle == nullptr ? 0 : 1);
}

int ResultOf(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Fork, AChildMayBuildAHandleUnlessItsParentHadOneAndTheParentContinues) {
  if (const pid_t early = fork(); early == 0)
    LiveAndExit();
  else
    EXPECT_EQ(ResultOf(early), 0);
  LarderHandle handle = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  EXPECT_EQ(QueryFile(handle), LARDER_OK);
  const pid_t refused = fork();
  if (refused == 0) BeRefusedAndExit(handle);
  EXPECT_EQ(QueryFile(handle), LARDER_OK);
  EXPECT_EQ(ResultOf(refused), 0);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  const pid_t late = fork();
  if (late == 0) LiveAndExit();
  EXPECT_EQ(ResultOf(late), 0);
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
    if (child == 0) BeRefusedAndExit(kept);
    EXPECT_EQ(ResultOf(child), 0);
  }
  isDone = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

}  // namespace
}  // namespace larder
