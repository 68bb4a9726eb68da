// The connection that writes to the store's database.
#pragma once

#include <cstdint>
#include <random>
#include <span>
#include <vector>

#include "feed-file/fact-database.h"
#include "feed-file/store-engine.h"

namespace larder::feed {

// For one thread of all processes at a time. All functions throw StoreError.
class DatabaseWriter {
 public:
  // Creates the database's tables unless they exist. maxBytes: of all files of the database. The
  // connection must be able to write.
  DatabaseWriter(Connection writing, std::uint64_t maxBytes);
  DatabaseWriter(const DatabaseWriter&) = delete;
  DatabaseWriter& operator=(const DatabaseWriter&) = delete;

  void Write(const StoreBatch& batch);
  void Tidy();
  bool IsCrowded() const noexcept { return usedPages > maxPages / 2; }
  bool HasWritten() const noexcept { return pagesInLog != 0; }

 private:
  class Transaction;
  struct Sampled {
    std::int64_t key;
    std::int64_t uses;
  };
  struct Counts {
    std::int64_t entries = 0;
    std::int64_t used = 0;  // entries that were used
  };

  static int NoteLogSize(void* writer, sqlite3* database, const char* name, int pages);
  void RequireLogSpace();
  std::size_t CountInTransaction(std::span<const StoreEntry* const> entries) const;
  void WriteSome(const StoreBatch& batch);
  void TryWrite(const StoreBatch& batch, std::int64_t spare);
  void MakeRoom(std::int64_t pages);
  std::vector<Sampled> TakeSample();
  void RemoveUnused(std::vector<Sampled> found);
  void RemoveEntry(std::int64_t key);
  void LowerUse(const Sampled& entry, std::int64_t by);
  void Put(const StoreEntry& entry);
  void NoteUses(std::span<const std::uint64_t> keys);
  void CountPages();
  void ReadCounts();
  std::int64_t Changes() const { return sqlite3_changes64(connection.Native()); }
  void SyncEachCommit(bool sync);

  Connection connection;
  const std::int64_t logPages;  // with more in the write-ahead log, nothing is written
  const std::int64_t maxPages;  // of the database itself
  std::int64_t pageCount = 0;
  std::int64_t usedPages = 0;
  std::int64_t pagesInLog = 0;
  Counts counts;  // with the changes of the current transaction
  bool isSyncing = false;
  std::minstd_rand random{std::random_device{}()};
  Statement begin;
  Statement commit;
  Statement count;
  Statement free;
  Statement sample;
  Statement remove;
  Statement removeUse;
  Statement lowerUse;
  Statement insert;
  Statement addUse;
  Statement raiseUse;
  Statement read;
  Statement update;
};

}  // namespace larder::feed
