// The store's LMDB environment: one folder with a data file and a lock file, for many processes at
// once. Two tables: the entries, each behind its key, by a number that tells the order in which
// they were stored, so that new ones go to one end and old ones from the other; by key, that
// number.
//
// Readers never wait for writers. A process opens a folder at most once, and not in the child of a
// fork with what its parent has opened.
#pragma once

#include <lmdb.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "feed-file/store-entry.h"
#include "feed-file/store-lock.h"

namespace larder::feed {

class StoreError : public std::runtime_error {
 public:
  StoreError(const std::string& text, bool damage) : std::runtime_error(text), isDamage(damage) {}

  const bool isDamage;  // the store's own contents are to blame
};

struct KeyedEntry {
  std::uint64_t key;
  const EntryBytes entry;
};

struct StoreSize {
  std::uint64_t entries = 0;
  std::uint64_t bytes = 0;
};

// With less, what a single transaction changes would be a large part of the whole.
inline constexpr std::uint64_t kMinLimit = std::uint64_t{8} << 20;

class StoreEnvironment {
 public:
  // folder exists. maxBytes: how large the data file becomes at most, at least kMinLimit. Throws
  // StoreError with the path and the reason: for what is no store, or one of another format, with
  // isDamage.
  StoreEnvironment(const WideString& folder, std::uint64_t maxBytes);
  // No call may run.
  ~StoreEnvironment();
  StoreEnvironment(const StoreEnvironment&) = delete;
  StoreEnvironment& operator=(const StoreEnvironment&) = delete;

  // Copies the record of a file; false if there is none. Throws StoreError. Any thread.
  bool Find(std::uint64_t key, const StoredFile& file, DbBuffer* record);
  // Throws StoreError. Any thread.
  StoreSize Size();

  // Stores all of them, in place of what has their keys; they are on disk when it returns. The
  // oldest make room. Throws StoreError; some may be stored then. On one thread at a time.
  void Write(std::span<const KeyedEntry* const> entries);

  // False after a failure that leaves nothing to go on with: every call throws then, and who wants
  // a store opens it once more.
  bool IsUsable() const noexcept { return !isUnusable; }
  // Whether the folder still leads to what was opened: another process may have set it aside.
  bool IsInPlace() const;

 private:
  struct CloseEnvironment {
    void operator()(MDB_env* opened) const noexcept { mdb_env_close(opened); }
  };

  // A read transaction out of the pool, for one read at a time. The map can't move meanwhile.
  class ReadTransaction {
   public:
    explicit ReadTransaction(StoreEnvironment& storeEnvironment);
    ~ReadTransaction();
    ReadTransaction(const ReadTransaction&) = delete;
    ReadTransaction& operator=(const ReadTransaction&) = delete;

    MDB_txn* transaction = nullptr;

   private:
    int Begin();

    StoreEnvironment& environment;
    std::shared_lock<StoreLock> map;
  };

  class WriteTransaction;

  [[noreturn]] void Fail(int code) const;
  void Check(int code) const;
  bool IsDamage(int code) const;
  void Open();
  void RequireWholeFile() const;
  bool OpenTables(unsigned flags);
  void CheckFormat(MDB_txn* transaction, bool make) const;
  std::uint64_t DataFileSize() const;
  std::uint64_t MapSize() const;
  int Remap(std::uint64_t size);
  bool Grow();
  std::size_t CountInTransaction(std::span<const KeyedEntry* const> entries) const;
  int MakeRoomFor(std::span<const KeyedEntry* const> entries);
  void WriteSome(std::span<const KeyedEntry* const> entries);
  int TryWrite(std::span<const KeyedEntry* const> entries);

  const WideString dataFile;
  const std::string path;  // of the folder, as LMDB takes it
  const std::uint64_t limit;
  std::uint64_t dataIndex = 0;  // the data file's identity
  StoreLock mapMutex;           // held by one alone while the map moves
  std::atomic<bool> isUnusable = false;
  std::unique_ptr<MDB_env, CloseEnvironment> environment;
  MDB_dbi entryTable = 0;
  MDB_dbi indexTable = 0;
  StoreLock poolMutex;
  std::vector<MDB_txn*> pool;  // reset read transactions
};

}  // namespace larder::feed
