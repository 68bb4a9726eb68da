// The statistics provider, as the built module.
#include <gtest/gtest.h>
#include <larder/feed-stats.h>

#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

#include "providers/provider-machine.h"
#include "providers/provider-module.h"

namespace larder {
namespace {

class FeedStats : public testing::Test {
 protected:
  FeedStatsRecord Query() {
    DbBuffer block = QueryOf(*provider, Descriptor(LARDER_WIDE("any")));
    FeedStatsRecord record{};
    if (block.size != sizeof record) throw std::runtime_error("not one record");
    std::memcpy(&record, block.data, sizeof record);
    FreeQueryOf(*provider, block);
    EXPECT_EQ(block.data, nullptr);
    return record;
  }

  const ProviderMachine machine;
  const ProviderModule provider{BesideProgram(LARDER_WIDE("feed-stats.dll"))};
};

TEST_F(FeedStats, ReportsTypeThreeInObjectAndBlock) {
  EXPECT_EQ(provider->GetType(), 3);
  const FeedStatsRecord record = Query();
  EXPECT_EQ(record.dataSize, sizeof record);
  EXPECT_EQ(record.providerType, 3);
}

TEST_F(FeedStats, CountsWhatWasAskedTheAskingIncluded) {
  const FeedStatsRecord first = Query();
  EXPECT_EQ(first.getKeyCalls, 1u);
  EXPECT_EQ(first.queryCalls, 1u);
  EXPECT_EQ(first.freeQueryCalls, 0u);
  EXPECT_EQ(first.writeCalls, 0u);
  EXPECT_EQ(first.bytesWritten, 0u);
  const Descriptor any(LARDER_WIDE("any"));
  WriteTo(*provider, any, BlockOf("12345"));
  WriteTo(*provider, any, DbBuffer());
  WriteTo(*provider, any, BlockOf("1234567"));
  const FeedStatsRecord second = Query();
  EXPECT_EQ(second.getKeyCalls, 5u);
  EXPECT_EQ(second.queryCalls, 2u);
  EXPECT_EQ(second.freeQueryCalls, 1u);
  EXPECT_EQ(second.writeCalls, 3u);
  EXPECT_EQ(second.bytesWritten, 28u);
  EXPECT_EQ(second.since, first.since);
  // There is no file provider in this process.
  EXPECT_EQ(second.storeSince, 0u);
  EXPECT_EQ(second.storeRefused, 0u);
}

TEST_F(FeedStats, BeginsAnewWithEachObject) {
  const FeedStatsRecord mine = Query();
  // Between the beginnings of 2020 and of 2200.
  EXPECT_GT(mine.since, 132'223'104'000'000'000u);
  EXPECT_LT(mine.since, 189'026'784'000'000'000u);
  const ProviderModule later(BesideProgram(LARDER_WIDE("feed-stats.dll")));
  const DbBuffer block = QueryOf(*later, Descriptor(LARDER_WIDE("any")));
  FeedStatsRecord others{};
  ASSERT_EQ(block.size, sizeof others);
  std::memcpy(&others, block.data, sizeof others);
  EXPECT_EQ(others.queryCalls, 1u);
  EXPECT_GE(others.since, mine.since);
}

TEST_F(FeedStats, ReadsNoDescriptor) {
  std::uint64_t key = 0;
  DbBuffer block;
  const char nothing = 'x';
  provider->GetKey(&nothing, &key);
  provider->Query(&nothing, 7, &key, &block);
  EXPECT_EQ(key, 1u);
  EXPECT_NE(block.data, nullptr);
}

TEST_F(FeedStats, LosesNoCallOfEightThreads) {
  constexpr int kRounds = 500;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([this] {
      std::uint64_t last = 0;
      for (int round = 0; round < kRounds; ++round) {
        WriteTo(*provider, Descriptor(LARDER_WIDE("any")), BlockOf("12"));
        const std::uint64_t queries = Query().queryCalls;
        EXPECT_GT(queries, last);
        last = queries;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const FeedStatsRecord record = Query();
  EXPECT_EQ(record.getKeyCalls, 2u * 8 * kRounds + 1);
  EXPECT_EQ(record.queryCalls, 8u * kRounds + 1);
  EXPECT_EQ(record.freeQueryCalls, 8u * kRounds);
  EXPECT_EQ(record.writeCalls, 8u * kRounds);
  EXPECT_EQ(record.bytesWritten, 10u * 8 * kRounds);
}

}  // namespace
}  // namespace larder
