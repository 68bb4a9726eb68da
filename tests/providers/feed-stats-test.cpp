// The statistics provider, as the built module.
#include <gtest/gtest.h>
#include <larder/feed-stats.h>

#include <thread>
#include <vector>

#include "providers/provider-machine.h"
#include "providers/provider-module.h"

namespace larder {
namespace {

class FeedStats : public testing::Test {
 protected:
  static FeedStatsRecord Query(const ProviderModule& from) {
    DbBuffer block = QueryOf(*from, any);
    const auto record = RecordAt<FeedStatsRecord>(block);
    EXPECT_EQ(block.size, sizeof record);
    FreeQueryOf(*from, block);
    EXPECT_EQ(block.data, nullptr);
    return record;
  }

  const ProviderMachine machine;
  const ProviderModule provider{BesideProgram(LARDER_WIDE("feed-stats.dll"))};
  inline static const Descriptor any{LARDER_WIDE("any")};
};

TEST_F(FeedStats, CountsWhatThisObjectWasAskedTheAskingIncluded) {
  const FeedStatsRecord first = Query(provider);
  EXPECT_EQ(first.dataSize, sizeof first);
  EXPECT_EQ(first.providerType, 3);
  EXPECT_EQ(first.getKeyCalls, 1u);
  EXPECT_EQ(first.queryCalls, 1u);
  EXPECT_EQ(first.freeQueryCalls, 0u);
  // Between the beginnings of 2020 and of 2200.
  EXPECT_GT(first.since, 132'223'104'000'000'000u);
  EXPECT_LT(first.since, 189'026'784'000'000'000u);
  WriteTo(*provider, any, BlockOf("12345"));
  WriteTo(*provider, any, DbBuffer());
  WriteTo(*provider, any, BlockOf("1234567"));
  const FeedStatsRecord second = Query(provider);
  EXPECT_EQ(second.getKeyCalls, 5u);
  EXPECT_EQ(second.queryCalls, 2u);
  EXPECT_EQ(second.freeQueryCalls, 1u);
  EXPECT_EQ(second.writeCalls, 3u);
  EXPECT_EQ(second.bytesWritten, 28u);
  EXPECT_EQ(second.since, first.since);
  // There is no file provider in this process.
  EXPECT_EQ(second.storeSince, 0u);
  EXPECT_EQ(second.storeRefused, 0u);
  const FeedStatsRecord others =
      Query(ProviderModule(BesideProgram(LARDER_WIDE("feed-stats.dll"))));
  EXPECT_EQ(others.queryCalls, 1u);
  EXPECT_GE(others.since, first.since);
}

TEST_F(FeedStats, LosesNoCallOfEightThreads) {
  constexpr int kRounds = 500;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([this] {
      std::uint64_t last = 0;
      for (int round = 0; round < kRounds; ++round) {
        WriteTo(*provider, any, BlockOf("12"));
        const std::uint64_t queries = Query(provider).queryCalls;
        EXPECT_GT(queries, last);
        last = queries;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const FeedStatsRecord record = Query(provider);
  EXPECT_EQ(record.getKeyCalls, 2u * 8 * kRounds + 1);
  EXPECT_EQ(record.queryCalls, 8u * kRounds + 1);
  EXPECT_EQ(record.freeQueryCalls, 8u * kRounds);
  EXPECT_EQ(record.writeCalls, 8u * kRounds);
  EXPECT_EQ(record.bytesWritten, 10u * 8 * kRounds);
}

}  // namespace
}  // namespace larder
