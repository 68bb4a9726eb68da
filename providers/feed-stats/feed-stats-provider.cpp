#include "feed-stats/feed-stats-provider.h"

#include <cstring>
#include <stdexcept>
#include <utility>

#include "common/file-figures.h"
#include "common/registry-value.h"
#include "platform/cancellation.h"
#include "platform/file-time.h"
#include "platform/scoped-handle.h"
#include "product/product.h"

namespace larder::feed {
namespace {

constexpr std::uint64_t kKey = 1;

WideString ModulePath() try {
  const WideString file = ReadRegistryText(kFeedFileKey, kModuleValue);
  if (file.empty()) return {};
  return ReadRegistryText(kInstallKey, kLocationValue) + file;
} catch (const std::runtime_error&) {  // then the library can't have loaded it either
  return {};
}

// Zeros unless the process has loaded the file provider that the registry names.
FileFigures FileProviderFigures() {
  // Keeps the module from being unloaded meanwhile.
  const platform::OwnedModule module(platform::FindLoadedModule(ModulePath()));
  const auto function = reinterpret_cast<GetFileFiguresFunction>(
      platform::FindSymbol(module.Get(), kFileFiguresExport));
  FileFigures figures;
  if (function != nullptr) function(&figures);
  return figures;
}

}  // namespace

FeedStatsProvider::FeedStatsProvider() : since(platform::CurrentFileTime()) {}

std::int32_t FeedStatsProvider::GetType() { return LARDER_FEED_STATS_TYPE; }

void FeedStatsProvider::GetKey(const void*, std::uint64_t* key) {
  getKeyCalls.Add(1);
  *key = kKey;
}

void FeedStatsProvider::Query(const void*, std::uint32_t, std::uint64_t*, DbBuffer* result) {
  const platform::CancellationBlock noCancellation;  // destructors below close files
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
