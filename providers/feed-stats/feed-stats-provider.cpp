#include "feed-stats/feed-stats-provider.h"

#include <chrono>
#include <cstring>
#include <utility>

#include "feed-stats/file-provider-figures.h"

namespace larder::feed {
namespace {

constexpr std::uint64_t kKey = 1;

std::uint64_t Now() {
  using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
  constexpr std::int64_t kTicksFrom1601To1970 = 116'444'736'000'000'000;
  const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
  const auto ticks = std::chrono::duration_cast<Ticks>(since1970).count();
  return static_cast<std::uint64_t>(ticks + kTicksFrom1601To1970);
}

}  // namespace

FeedStatsProvider::FeedStatsProvider() : since(Now()) {}

std::int32_t FeedStatsProvider::GetType() { return LARDER_FEED_STATS_TYPE; }

void FeedStatsProvider::GetKey(const void*, std::uint64_t* key) {
  getKeyCalls.Add(1);
  *key = kKey;
}

void FeedStatsProvider::Query(const void*, std::uint32_t, std::uint64_t*, DbBuffer* result) {
  queryCalls.Add(1);
  const FeedStatsRecord record = MakeRecord();
  DbBuffer block(sizeof record);
  std::memcpy(block.data, &record, sizeof record);
  *result = std::move(block);
}

void FeedStatsProvider::FreeQuery(DbBuffer* data) {
  freeQueryCalls.Add(1);
  data->Reset();
}

void FeedStatsProvider::Write(const void*, std::uint64_t*, DbBuffer* data) {
  writeCalls.Add(1);
  bytesWritten.Add(data->size);
}

FeedStatsRecord FeedStatsProvider::MakeRecord() const {
  FeedStatsRecord record{};
  record.dataSize = sizeof record;
  record.providerType = LARDER_FEED_STATS_TYPE;
  record.since = since;
  record.getKeyCalls = getKeyCalls.Get();
  record.queryCalls = queryCalls.Get();
  record.freeQueryCalls = freeQueryCalls.Get();
  record.writeCalls = writeCalls.Get();
  record.bytesWritten = bytesWritten.Get();
  const FileFigures figures = FileProviderFigures();
  record.storeSince = figures.since;
  record.storeEntries = figures.entries;
  record.storeBytes = figures.bytes;
  record.storeHits = figures.hits;
  record.storeMisses = figures.misses;
  record.filesComputed = figures.computed;
  record.storeRefused = figures.refused;
  return record;
}

}  // namespace larder::feed

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) {
  *out = new larder::feed::FeedStatsProvider;
}
