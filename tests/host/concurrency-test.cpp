// What may run at once, at once: for the thread sanitizer above all.
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <atomic>
#include <thread>
#include <vector>

#include "host/file-descriptor.h"
#include "host/host-machine.h"

namespace larder {
namespace {

constexpr int kThreads = 8;

template <typename Work>
void OnAllThreads(Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

TEST(Concurrency, ManyThreadsQueryFreeAndWriteWithAListenerPresent) {
  HostMachine host;
  host.AddProvider("FeedTest", "feed-test.dll");
  LarderHandle handle = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  OnAllThreads([&](int thread) {
    WideString path = LARDER_WIDE("C:\\object-");
    path += static_cast<LarderWideChar>('0' + thread / 2);  // two threads share an object
    const TestDescriptor descriptor(path);
    for (std::uint32_t i = 0; i < 200; ++i) {
      struct {
        DataBlockHeader header{sizeof(DataBlockHeader) + 4, 2};
        std::uint32_t number = 0;
      } block;
      block.number = i;
      ASSERT_EQ(LarderWrite(handle, &descriptor, 2, &block.header), LARDER_OK);
      DataBlockHeader* data = nullptr;
      ASSERT_EQ(LarderQuery(handle, &descriptor, 2, 0, &data, 1), LARDER_OK);
      ASSERT_EQ(data->dataSize, sizeof block);
      ASSERT_EQ(LarderFreeQuery(handle, data), LARDER_OK);
    }
  });
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

TEST(Concurrency, ManyThreadsTakeAndGiveReferencesWhileListenersComeAndGo) {
  HostMachine host;
  host.AddProvider("A", "type-0.dll");
  host.AddProvider("B", "type-1.dll");
  std::atomic<int> built{0};
  std::atomic<bool> isDone{false};
  std::thread observer([&] {
    while (!isDone) const RecordedLog log;
  });
  OnAllThreads([&](int) {
    for (int i = 0; i < 20; ++i) {
      LarderHandle handle = nullptr;
      const std::int32_t result = LarderInit(UnexpectedCall, &handle);
      ASSERT_TRUE(result == LARDER_OK || result == LARDER_E_ALREADY_INITIALIZED) << result;
      built += result == LARDER_OK ? 1 : 0;
      const int descriptor = 0;
      DataBlockHeader* data = nullptr;
      ASSERT_EQ(LarderQuery(handle, &descriptor, 0, 0, &data, 1), LARDER_OK);
      ASSERT_EQ(LarderFreeQuery(handle, data), LARDER_OK);
      ASSERT_EQ(LarderRelease(), LARDER_OK);
    }
  });
  isDone = true;
  observer.join();
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);
  EXPECT_EQ(host.Count("type-1 created"), built);
  EXPECT_EQ(host.Count("type-1 unloaded"), built);
}

}  // namespace
}  // namespace larder
