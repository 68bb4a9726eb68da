// Runs concurrently what may run concurrently. The thread sanitizer reports the races.
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <atomic>
#include <thread>
#include <vector>

#include "host/host-machine.h"

namespace larder {
namespace {

void WriteQueryAndFree(LarderHandle handle, const TestDescriptor& descriptor) {
  const DataBlockHeader block{sizeof block, 2};
  DataBlockHeader* data = nullptr;
  ASSERT_EQ(LarderWrite(handle, &descriptor, 2, &block), LARDER_OK);
  ASSERT_EQ(LarderQuery(handle, &descriptor, 2, 0, &data, 1), LARDER_OK);
  ASSERT_EQ(LarderFreeQuery(handle, data), LARDER_OK);
}

TEST(Concurrency, ThreadsUseAllExportsWhileListenersComeAndGo) {
  HostMachine host;
  host.AddProvider("FeedTest", "feed-test.dll");
  host.AddProvider("One", "type-1.dll");
  std::atomic<int> built{0};
  std::atomic<bool> isDone{false};
  std::thread observer([&] {
    while (!isDone) const RecordedLog log;
  });
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&, thread] {
      // Two threads share an object.
      const TestDescriptor descriptor(Wide("object-" + std::to_string(thread / 2)));
      for (int i = 0; i < 20; ++i) {
        LarderHandle handle = nullptr;
        const std::int32_t result = LarderInit(UnexpectedCall, &handle);
        ASSERT_TRUE(result == LARDER_OK || result == LARDER_E_ALREADY_INITIALIZED) << result;
        built += result == LARDER_OK ? 1 : 0;
        for (int j = 0; j < 10; ++j) WriteQueryAndFree(handle, descriptor);
        ASSERT_EQ(LarderRelease(), LARDER_OK);
      }
    });
  }
  threads.clear();
  isDone = true;
  observer.join();
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);
  EXPECT_EQ(host.Count("type-1 created"), built);
  EXPECT_EQ(host.Count("type-1 unloaded"), built);
}

}  // namespace
}  // namespace larder
