// The statistics provider, type 3: counts what is asked of it. larder/feed-stats.h has its block.
//
// There is one object, whatever the descriptor says: the descriptor and the query option aren't
// read, and the key is always 1. Write counts the block and drops it. The counts begin when the
// provider's object is made and end with it.
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
  // Nobody orders anything else by a count, so every access is relaxed.
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
