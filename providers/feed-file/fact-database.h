// The store's database: one SQLite file in WAL mode that all processes share.
//
//   fact   one row for each path: its hash is the key. A later version of the file replaces it.
//   use    how often an entry was used, 1 to 3; without a row: never since it was stored.
//   state  one row: the number of entries, how many of them were used, and how many transactions
//          contained a record that a client wrote.
//
// Any thread may read, and readers never wait for a writer, not even for a stopped one. When the
// database has reached its limit, entries that were never used since they were stored are removed
// before all others, so a scan of more files than fit doesn't displace the files in use.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "feed-file/store-engine.h"
#include "feed-file/store-entry.h"
#include "platform/lock.h"

namespace larder::feed {

struct StoreSize {
  std::uint64_t entries = 0;
  std::uint64_t bytes = 0;
};

// What one transaction stores.
struct StoreBatch {
  std::span<const StoreEntry* const> entries;  // no two with one key
  std::span<const std::uint64_t> used;         // keys of entries that were used
  bool isClients = false;  // a client waits for it: synced to the disk, and seen by WrittenCount
};

class DatabaseReader;
class DatabaseWriter;

class FactDatabase {
 public:
  // Opens the database in the folder and creates it if it doesn't exist. maxBytes: of all its files
  // together. Throws StoreError with the path and the reason, with isDamage if there is something
  // that isn't a database of this format.
  FactDatabase(const WideString& folder, std::uint64_t maxBytes);
  // No other call may be running.
  ~FactDatabase();
  FactDatabase(const FactDatabase&) = delete;
  FactDatabase& operator=(const FactDatabase&) = delete;

  // Copies the record of a file; false if there is none for this state. Throws StoreError.
  bool Find(std::uint64_t key, WideView folded, const platform::FileInfo& info, DbBuffer* record);

  // Calls visit for each entry, in no particular order, until it returns false. The arguments are
  // valid during the call. Throws StoreError.
  using Visitor =
      std::function<bool(std::string_view path, const platform::FileInfo& info, RecordView record)>;
  void VisitAll(const Visitor& visit);

  StoreSize Size();
  // Changes whenever any process has stored a client's record.
  std::uint64_t WrittenCount();

  // False if this process may only read the database.
  bool IsWritable() const noexcept { return writer != nullptr; }
  // Stores a batch and makes room for it. Throws StoreError; a part of a large batch may be stored
  // then. One thread of all processes at a time (see FactStore's turn), and only if IsWritable.
  void Write(const StoreBatch& batch);
  bool HasWritten() const noexcept;
  // Whether the database is so full that it matters which entries are used.
  bool IsCrowded() const noexcept;
  // Copies the write-ahead log into the database and empties it, if nobody uses it. As Write.
  void Tidy();

  // Whether the folder still contains the file that was opened: another process may have set it
  // aside.
  bool IsInPlace() const;

 private:
  class Lease;

  void Open(std::uint64_t maxBytes);
  bool OpenToWrite(std::uint64_t maxBytes);
  std::unique_ptr<DatabaseReader> TakeReader();
  void ReturnReader(std::unique_ptr<DatabaseReader> reader) noexcept;

  const Engine engine;
  const WideString file;
  std::uint64_t fileIndex = 0;
  Connection::Access readAccess = Connection::Access::kRead;
  std::unique_ptr<DatabaseWriter> writer;
  platform::Lock poolLock;  // guards the pool
  std::vector<std::unique_ptr<DatabaseReader>> pool;
};

}  // namespace larder::feed
