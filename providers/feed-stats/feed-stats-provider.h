// The statistics provider, type 3: counts the calls that it gets. larder/feed-stats.h has its
// record.
//
// There is one object: the descriptor and the query option are ignored, and the key is always 1.
// Write counts the block and discards it. The counts begin at 0 when the provider's object is
// created.
#pragma once

#include <larder/feed-stats.h>
#include <larder/provider.h>

#include <atomic>
#include <cstdint>

namespace larder::feed {

class FeedStatsProvider final : public IDataProvider {
 public:
  FeedStatsProvider();

  std::int32_t GetType() override;
  void Query(const void* objectDescriptor, std::uint32_t queryOption, std::uint64_t* key,
             DbBuffer* result) override;
  void GetKey(const void* objectDescriptor, std::uint64_t* key) override;
  void FreeQuery(DbBuffer* data) override;
  void Write(const void* objectDescriptor, std::uint64_t* key, DbBuffer* data) override;

 private:
  // No other memory access depends on a count, so all accesses are relaxed.
  class Count {
   public:
    void Add(std::uint64_t more) noexcept { value.fetch_add(more, std::memory_order_relaxed); }
    std::uint64_t Get() const noexcept { return value.load(std::memory_order_relaxed); }

   private:
    std::atomic<std::uint64_t> value = 0;
  };

  FeedStatsRecord MakeRecord() const;

  const std::uint64_t since;  // 100 ns since 1601-01-01 UTC
  Count getKeyCalls;
  Count queryCalls;
  Count freeQueryCalls;
  Count writeCalls;
  Count bytesWritten;
};

}  // namespace larder::feed
