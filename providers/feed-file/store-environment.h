// The store's LMDB environment: a folder with a data file and a lock file, shared by all processes.
// It has two tables. One maps ascending numbers to entries, each preceded by its key: new entries
// are appended at one end, the oldest are removed from the other. The other table maps a key to the
// number of its entry.
//
// Readers never wait for writers. A process may open a folder only once; the child of a fork must
// not use an environment that its parent has opened.
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

  const bool isDamage;  // the cause is the contents of the store
};

struct KeyedEntry {
  std::uint64_t key;
  const EntryBytes entry;
};

struct StoreSize {
  std::uint64_t entries = 0;
  std::uint64_t bytes = 0;
};

// With less, one transaction would change a large part of the store.
inline constexpr std::uint64_t kMinLimit = std::uint64_t{8} << 20;

class StoreEnvironment {
 public:
  // folder exists. maxBytes: the maximum size of the data file, at least kMinLimit. Throws
  // StoreError with the path and the reason, with isDamage if the file isn't a store or has another
  // format.
  StoreEnvironment(const WideString& folder, std::uint64_t maxBytes);
  // No other call may be running.
  ~StoreEnvironment();
  StoreEnvironment(const StoreEnvironment&) = delete;
  StoreEnvironment& operator=(const StoreEnvironment&) = delete;

  // Copies the record of a file; false if there is none. Throws StoreError. May be called from any
  // thread.
  bool Find(std::uint64_t key, const StoredFile& file, DbBuffer* record);
  // Throws StoreError. May be called from any thread.
  StoreSize Size();

  // Stores all entries and replaces those with the same keys; they are on disk when it returns.
  // Removes the oldest if there is no space. Throws StoreError; some entries may be stored then.
  // One thread at a time.
  void Write(std::span<const KeyedEntry* const> entries);

  // False after a failure that makes the environment unusable: every call throws then, until the
  // store is opened again.
  bool IsUsable() const noexcept { return !isUnusable; }
  // Whether the folder still contains the store that was opened: another process may have set it
  // aside.
  bool IsInPlace() const;

 private:
  struct CloseEnvironment {
    void operator()(MDB_env* opened) const noexcept { mdb_env_close(opened); }
  };

  // A read transaction from the pool, for one thread at a time. The map can't move meanwhile.
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
  StoreLock mapMutex;           // exclusive while the map moves
  std::atomic<bool> isUnusable = false;
  std::unique_ptr<MDB_env, CloseEnvironment> environment;
  MDB_dbi entryTable = 0;
  MDB_dbi indexTable = 0;
  StoreLock poolMutex;
  std::vector<MDB_txn*> pool;  // reset read transactions
};

}  // namespace larder::feed
