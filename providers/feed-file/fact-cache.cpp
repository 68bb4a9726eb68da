#include "feed-file/fact-cache.h"

#include <mutex>
#include <new>

namespace larder::feed {
namespace {

constexpr std::size_t kMaxShardBytes = std::size_t{256} << 10;

}  // namespace

std::size_t FactCache::Item::Size() const {
  constexpr std::size_t kNodes = 128;  // of the list and the index
  return kNodes + sizeof *this + folded.size() * sizeof folded[0] + record.size();
}

void FactCache::Shard::Erase(std::uint64_t key) {
  const auto place = index.find(key);
  if (place == index.end()) return;
  bytes -= place->second->Size();
  items.erase(place->second);
  index.erase(place);
}

bool FactCache::Find(std::uint64_t key, WideView folded, const platform::FileInfo& info,
                     DbBuffer* record, Ticket& ticket) {
  Shard& shard = ShardOf(key);
  const std::lock_guard lock(shard.lock);
  ticket = shard.removals;
  const auto place = shard.index.find(key);
  if (place == shard.index.end()) return false;
  const Item& item = *place->second;
  if (item.info != info || !IsSame(item.folded, folded)) return false;
  record->Copy(item.record.data(), item.record.size());
  shard.items.splice(shard.items.begin(), shard.items, place->second);
  return true;
}

void FactCache::Add(Ticket ticket, std::uint64_t key, WideView folded,
                    const platform::FileInfo& info, RecordView record) noexcept try {
  std::list<Item> made;
  made.push_back({key, WideString(folded), info, {record.begin(), record.end()}});
  const std::size_t size = made.front().Size();
  Shard& shard = ShardOf(key);
  const std::lock_guard lock(shard.lock);
  if (ticket != shard.removals || size > kMaxShardBytes / 4) return;
  shard.Erase(key);
  while (shard.bytes + size > kMaxShardBytes) shard.Erase(shard.items.back().key);
  shard.index[key] = made.begin();
  shard.items.splice(shard.items.begin(), made);
  shard.bytes += size;
} catch (const std::bad_alloc&) {
  return;
}

void FactCache::Remove(std::uint64_t key) noexcept {
  Shard& shard = ShardOf(key);
  const std::lock_guard lock(shard.lock);
  ++shard.removals;
  shard.Erase(key);
}

void FactCache::Clear() {
  for (Shard& shard : shards) {
    const std::lock_guard lock(shard.lock);
    ++shard.removals;
    shard.items.clear();
    shard.index.clear();
    shard.bytes = 0;
  }
}

}  // namespace larder::feed
