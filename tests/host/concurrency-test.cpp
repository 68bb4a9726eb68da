// Runs concurrently what may run concurrently. The thread sanitizer reports the races.
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <atomic>
#include <thread>
#include <vector>

#include "host/host-machine.h"

namespace larder {
namespace {

struct NumberedBlock {
  DataBlockHeader header{sizeof(NumberedBlock), 2};
  std::uint32_t number = 0;
};

void WriteQueryAndFree(LarderHandle handle, const TestDescriptor& descriptor,
                       std::uint32_t number) {
  NumberedBlock block;
  block.number = number;
  ASSERT_EQ(LarderWrite(handle, &descriptor, 2, &block.header), LARDER_OK);
  DataBlockHeader* data = nullptr;
  ASSERT_EQ(LarderQuery(handle, &descriptor, 2, 0, &data, 1), LARDER_OK);
  ASSERT_EQ(data->dataSize, sizeof block);
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
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&, thread] {
      // Two threads share an object.
      const TestDescriptor descriptor(Wide("object-" + std::to_string(thread / 2)));
      for (std::uint32_t i = 0; i < 20; ++i) {
        LarderHandle handle = nullptr;
        const std::int32_t result = LarderInit(UnexpectedCall, &handle);
        ASSERT_TRUE(result == LARDER_OK || result == LARDER_E_ALREADY_INITIALIZED) << result;
        built += result == LARDER_OK ? 1 : 0;
        for (std::uint32_t j = 0; j < 10; ++j) WriteQueryAndFree(handle, descriptor, j);
        ASSERT_EQ(LarderRelease(), LARDER_OK);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  isDone = true;
  observer.join();
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);
  EXPECT_EQ(host.Count("type-1 created"), built);
  EXPECT_EQ(host.Count("type-1 unloaded"), built);
}

}  // namespace
}  // namespace larder
