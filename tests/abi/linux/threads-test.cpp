// What happens to a client's threads: they are cancelled, or wait for signals.
#include <gtest/gtest.h>
#include <larder/larder.h>
#include <pthread.h>
#include <signal.h>

#include <functional>
#include <string>

#include "host/host-machine.h"
#include "log-file/log-files.h"

namespace larder {
namespace {

constexpr std::int32_t kSleeping = 0;  // its functions sleep, and a thread may be cancelled there
constexpr std::int32_t kFiles = 1;
constexpr std::int32_t kFigures = 3;

class Threads : public testing::Test {
 protected:
  Threads() {
    host.AddProvider("A", "sleeps.dll");
    host.AddProvider("F", "feed-file.dll");
    host.AddProvider("S", "feed-stats.dll");
    host.AddModule("stock-file-query.dll");
  }

  HostMachine host;
};

std::int32_t QueryAndFree(LarderHandle handle, std::int32_t type) {
  const TestDescriptor file(LARDER_WIDE("\\proc\\self\\exe"));
  DataBlockHeader* data = nullptr;
  const std::int32_t result = LarderQuery(handle, &file, type, 0, &data, LARDER_QUERY_VERSION);
  return result == LARDER_OK ? LarderFreeQuery(handle, data) : result;
}

struct Call {
  std::function<void()> run;
  bool hasReturned = false;
};

void* RunCancelled(void* given) {
  auto* const call = static_cast<Call*>(given);
  pthread_cancel(pthread_self());
  call->run();
  call->hasReturned = true;
  pthread_testcancel();
  return nullptr;
}

// Calls a function on a thread whose cancellation is pending. Returns whether it returned; if not,
// the thread was cancelled in it.
bool ReturnsThoughCancelled(const std::function<void()>& function) {
  Call call{function};
  pthread_t thread;
  void* result = nullptr;
  EXPECT_EQ(pthread_create(&thread, nullptr, RunCancelled, &call), 0);
  EXPECT_EQ(pthread_join(thread, &result), 0);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  return call.hasReturned;
}

void LiveOnCancelledThreads() {
  LarderHandle handle = nullptr;
  EXPECT_TRUE(ReturnsThoughCancelled([&] { LarderInit(UnexpectedCall, &handle); }));
  const TestDescriptor file(LARDER_WIDE("\\proc\\self\\exe"));
  DataBlockHeader* block = nullptr;
  ASSERT_EQ(LarderQuery(handle, &file, kSleeping, 0, &block, LARDER_QUERY_VERSION), LARDER_OK);
  const DataBlockHeader written{sizeof written, kSleeping};
  EXPECT_TRUE(ReturnsThoughCancelled([&] { QueryAndFree(handle, kFiles); }));
  EXPECT_TRUE(ReturnsThoughCancelled([&] { QueryAndFree(handle, kFigures); }));
  EXPECT_FALSE(ReturnsThoughCancelled([&] { QueryAndFree(handle, kSleeping); }));
  EXPECT_FALSE(ReturnsThoughCancelled([&] { LarderFreeQuery(handle, block); }));
  EXPECT_FALSE(ReturnsThoughCancelled([&] { LarderWrite(handle, &file, kSleeping, &written); }));
  EXPECT_EQ(QueryAndFree(handle, kFiles), LARDER_OK);
  EXPECT_EQ(QueryAndFree(handle, kSleeping), LARDER_OK);
  EXPECT_TRUE(ReturnsThoughCancelled([] { LarderRelease(); }));
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);
}

TEST_F(Threads, AreCancelledInsideProvidersOnlyWithAndWithoutTheLog) {
  LiveOnCancelledThreads();
  EnableLogging();
  LiveOnCancelledThreads();
}

TEST_F(Threads, OfTheLibraryLeaveTheProcessesSignalsToTheClient) {
  EnableLogging();
  LarderHandle handle = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  kill(getpid(), SIGTERM);
  int received = 0;
  EXPECT_EQ(sigwait(&signals, &received), 0);
  EXPECT_EQ(received, SIGTERM);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

}  // namespace
}  // namespace larder
