// The records that a process has asked for lately, in front of the store's database.
//
// It doesn't know when a record becomes invalid: each lookup passes the file's present state, and
// only the record of that state is returned. Bounded in bytes; the least recently used are dropped.
// Thread-safe.
#pragma once

#include <larder/provider.h>

#include <array>
#include <cstdint>
#include <list>
#include <unordered_map>
#include <vector>

#include "feed-file/store-entry.h"
#include "platform/lock.h"

namespace larder::feed {

class FactCache {
 public:
  // Returned by a lookup without a result, for Add: what is added under a ticket older than a
  // Remove is ignored, because the caller may have read what the removed record replaced.
  using Ticket = std::uint64_t;

  // Copies the record and returns true, or sets ticket.
  bool Find(std::uint64_t key, WideView folded, const platform::FileInfo& info, DbBuffer* record,
            Ticket& ticket);
  void Add(Ticket ticket, std::uint64_t key, WideView folded, const platform::FileInfo& info,
           RecordView record) noexcept;
  void Remove(std::uint64_t key) noexcept;
  void Clear();

 private:
  struct Item {
    std::uint64_t key;
    WideString folded;
    platform::FileInfo info;
    std::vector<unsigned char> record;

    std::size_t Size() const;
  };
  struct Shard {
    void Erase(std::uint64_t key);

    platform::Lock lock;    // guards the rest
    std::list<Item> items;  // the most recently used first
    std::unordered_map<std::uint64_t, std::list<Item>::iterator> index;
    std::size_t bytes = 0;
    Ticket removals = 0;
  };

  Shard& ShardOf(std::uint64_t key) { return shards[key >> 60]; }

  std::array<Shard, 16> shards;
};

}  // namespace larder::feed
