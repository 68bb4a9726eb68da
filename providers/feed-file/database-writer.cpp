#include "feed-file/database-writer.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace larder::feed {
namespace {

constexpr std::int64_t kPageSize = 4096;
constexpr std::int64_t kMaxUse = 3;
constexpr std::int64_t kSample = 64;          // entries
constexpr std::uint32_t kAgingInterval = 16;  // in samples
constexpr int kMaxSamples = 4096;             // in one transaction

constexpr const char* kTables =
    "BEGIN IMMEDIATE;"
    "CREATE TABLE IF NOT EXISTS fact(key INTEGER PRIMARY KEY, path TEXT NOT NULL,"
    " info BLOB NOT NULL, checksum INTEGER NOT NULL, record BLOB NOT NULL);"
    "CREATE TABLE IF NOT EXISTS use(key INTEGER PRIMARY KEY, count INTEGER NOT NULL);"
    "CREATE TABLE IF NOT EXISTS state(id INTEGER PRIMARY KEY, entries INTEGER NOT NULL,"
    " used INTEGER NOT NULL, written INTEGER NOT NULL);"
    "INSERT OR IGNORE INTO state VALUES(1, 0, 0, 0);";

// The write-ahead log's share of the limit, without its last transaction.
std::int64_t LogPages(std::uint64_t maxBytes) {
  constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;
  return static_cast<std::int64_t>(std::clamp(maxBytes / 8, kMiB, 16 * kMiB)) / kPageSize;
}

// Roughly the space that an entry needs, in pages that are two thirds full.
std::int64_t PagesFor(std::span<const StoreEntry* const> entries) {
  std::size_t bytes = 0;
  for (const StoreEntry* entry : entries) bytes += entry->Size() + 64;
  return static_cast<std::int64_t>(bytes * 3 / 2) / kPageSize + 8;
}

}  // namespace

// Rolled back unless it is committed.
class DatabaseWriter::Transaction {
 public:
  explicit Transaction(DatabaseWriter& ownWriter) : writer(ownWriter) {
    writer.begin.Run();
    writer.ReadCounts();
  }
  ~Transaction() {
    sqlite3* const database = writer.connection.Native();
    if (sqlite3_get_autocommit(database) != 0) return;
    sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

 private:
  DatabaseWriter& writer;
};

namespace {

// The database's share: a transaction may double the log, and its end may be in use once more.
std::int64_t DatabasePages(std::uint64_t maxBytes) {
  return static_cast<std::int64_t>(maxBytes) / kPageSize - 3 * LogPages(maxBytes);
}

// Before the statements are prepared, so that they find their tables.
Connection PrepareDatabase(Connection connection, std::int64_t maxPages) {
  connection.Run("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA wal_autocheckpoint=0");
  if (connection.Number("PRAGMA user_version") == 0) {
    connection.Run(kTables);
    connection.Run(("PRAGMA user_version=" + std::to_string(kStoreFormat) + "; COMMIT").c_str());
  }
  // The limit was lowered.
  if (connection.Number("PRAGMA page_count") > maxPages) {
    connection.Run(
        "DELETE FROM fact; DELETE FROM use; UPDATE state SET entries = 0, used = 0; VACUUM;"
        "PRAGMA wal_checkpoint(TRUNCATE)");
  }
  connection.Run(("PRAGMA max_page_count=" + std::to_string(maxPages)).c_str());
  return connection;
}

}  // namespace

DatabaseWriter::DatabaseWriter(Connection writing, std::uint64_t maxBytes)
    : connection(PrepareDatabase(std::move(writing), DatabasePages(maxBytes))),
      logPages(LogPages(maxBytes)),
      maxPages(DatabasePages(maxBytes)),
      begin(connection, "BEGIN IMMEDIATE"),
      commit(connection, "COMMIT"),
      count(connection, "PRAGMA page_count"),
      free(connection, "PRAGMA freelist_count"),
      sample(connection,
             "SELECT fact.key, coalesce(use.count, 0) FROM fact LEFT JOIN use USING(key)"
             " WHERE fact.key >= ? ORDER BY fact.key LIMIT ?"),
      remove(connection, "DELETE FROM fact WHERE key = ?"),
      removeUse(connection, "DELETE FROM use WHERE key = ?"),
      lowerUse(connection, "UPDATE use SET count = count - ? WHERE key = ?"),
      insert(connection, "INSERT INTO fact VALUES(?, ?, ?, ?, ?)"),
      addUse(connection, "INSERT OR IGNORE INTO use SELECT key, 1 FROM fact WHERE key = ?"),
      raiseUse(connection, "UPDATE use SET count = count + 1 WHERE key = ? AND count < ?"),
      read(connection, "SELECT entries, used FROM state"),
      update(connection, "UPDATE state SET entries = ?, used = ?, written = written + ?") {
  sqlite3_wal_hook(connection.Native(), NoteLogSize, this);
  connection.Run(("PRAGMA journal_size_limit=" + std::to_string(logPages * kPageSize)).c_str());
  CountPages();
}

int DatabaseWriter::NoteLogSize(void* writer, sqlite3*, const char*, int pages) {
  static_cast<DatabaseWriter*>(writer)->pagesInLog = pages;
  return SQLITE_OK;
}

void DatabaseWriter::CountPages() {
  const ResetAtEnd first(count);
  const ResetAtEnd second(free);
  pageCount = count.Step() ? count.Number(0) : 0;
  usedPages = pageCount - (free.Step() ? free.Number(0) : 0);
}

void DatabaseWriter::ReadCounts() {
  const ResetAtEnd end(read);
  if (read.Step()) counts = {read.Number(0), read.Number(1)};
}

void DatabaseWriter::SyncEachCommit(bool sync) {
  if (sync == isSyncing) return;
  connection.Run(sync ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
  isSyncing = sync;
}

// A process that was stopped while it was reading keeps the log from being emptied.
void DatabaseWriter::RequireLogSpace() {
  if (pagesInLog < logPages) return;
  int pages = 0;
  int copied = 0;
  const int code = sqlite3_wal_checkpoint_v2(connection.Native(), nullptr,
                                             SQLITE_CHECKPOINT_RESTART, &pages, &copied);
  if (code == SQLITE_OK) {
    pagesInLog = 0;
    return;
  }
  if (code != SQLITE_BUSY) connection.Fail(code);
  throw StoreError("Another process that is reading the store is stalled", false);
}

void DatabaseWriter::Tidy() {
  sqlite3_wal_checkpoint_v2(connection.Native(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr,
                            nullptr);
}

void DatabaseWriter::Write(const StoreBatch& batch) {
  SyncEachCommit(batch.isClients);
  StoreBatch rest = batch;
  do {
    StoreBatch some = rest;
    some.entries = rest.entries.first(CountInTransaction(rest.entries));
    WriteSome(some);
    rest.entries = rest.entries.subspan(some.entries.size());
    rest.used = {};
  } while (!rest.entries.empty());
}

// The number of entries that don't fill the log.
std::size_t DatabaseWriter::CountInTransaction(std::span<const StoreEntry* const> entries) const {
  const auto most = static_cast<std::size_t>(logPages * kPageSize / 4);
  std::size_t bytes = 0;
  std::size_t fitting = 0;
  while (fitting < entries.size() && (fitting == 0 || bytes + entries[fitting]->Size() <= most)) {
    bytes += entries[fitting++]->Size();
  }
  return fitting;
}

void DatabaseWriter::WriteSome(const StoreBatch& batch) {
  for (std::int64_t spare = maxPages / 32;; spare *= 2) {
    try {
      TryWrite(batch, spare);
      return;
    } catch (const StoreError& error) {
      // The disk may be full, or the database have reached its limit in spite of the estimate.
      if (error.code != SQLITE_FULL || pageCount < maxPages || spare > maxPages / 2) throw;
    }
  }
}

void DatabaseWriter::TryWrite(const StoreBatch& batch, std::int64_t spare) {
  RequireLogSpace();
  const Transaction transaction(*this);
  CountPages();
  if (!batch.entries.empty()) MakeRoom(PagesFor(batch.entries) + spare);
  for (const StoreEntry* entry : batch.entries) Put(*entry);
  NoteUses(batch.used);
  update.Bind(0, counts.entries).Bind(1, counts.used).Bind(2, batch.isClients ? 1 : 0).Run();
  CountPages();
  commit.Run();
  if (pagesInLog >= logPages / 2) {
    sqlite3_wal_checkpoint_v2(connection.Native(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr,
                              nullptr);
  }
}

void DatabaseWriter::MakeRoom(std::int64_t pages) {
  for (int i = 0; usedPages + pages > maxPages && i < kMaxSamples; ++i) {
    RemoveUnused(TakeSample());
    CountPages();
  }
}

// A run of entries from a random place, which are neighbours in the file, too.
std::vector<DatabaseWriter::Sampled> DatabaseWriter::TakeSample() {
  const std::uint64_t key = std::uint64_t{random()} << 33 ^ std::uint64_t{random()} << 8;
  std::vector<Sampled> found;
  for (const std::int64_t from :
       {static_cast<std::int64_t>(key), std::numeric_limits<std::int64_t>::min()}) {
    const ResetAtEnd end(sample);
    sample.Bind(0, from).Bind(1, kSample);
    while (sample.Step()) found.push_back({sample.Number(0), sample.Number(1)});
    if (!found.empty()) break;
  }
  return found;
}

// Removes the entries that were never used. A quarter of all entries should be such entries, or a
// new one would be removed before it could be used: if there are fewer, the least used of the
// sample become unused. Some samples age then, so that files no longer in use don't stay for ever.
void DatabaseWriter::RemoveUnused(std::vector<Sampled> found) {
  std::sort(found.begin(), found.end(),
            [](const Sampled& one, const Sampled& other) { return one.uses < other.uses; });
  const auto used =
      std::find_if(found.begin(), found.end(), [](const Sampled& one) { return one.uses != 0; });
  for (auto one = found.begin(); one != used; ++one) RemoveEntry(one->key);
  if (counts.used * 4 <= counts.entries * 3) return;
  const auto demoted =
      used + std::min<std::ptrdiff_t>(found.end() - used, static_cast<std::ptrdiff_t>(kSample) / 4);
  for (auto one = used; one != demoted; ++one) {
    LowerUse(*one, one->uses);
    if (used == found.begin()) RemoveEntry(one->key);
  }
  if (random() % kAgingInterval != 0) return;
  for (auto one = demoted; one != found.end(); ++one) LowerUse(*one, 1);
}

void DatabaseWriter::RemoveEntry(std::int64_t key) {
  remove.Bind(0, key).Run();
  --counts.entries;
}

void DatabaseWriter::LowerUse(const Sampled& entry, std::int64_t by) {
  if (entry.uses > by) {
    lowerUse.Bind(0, by).Bind(1, entry.key).Run();
  } else {
    removeUse.Bind(0, entry.key).Run();
    --counts.used;
  }
}

void DatabaseWriter::Put(const StoreEntry& entry) {
  const auto key = static_cast<std::int64_t>(entry.key);
  const InfoBytes info = BytesOf(entry.info);
  remove.Bind(0, key).Run();
  counts.entries += 1 - Changes();
  insert.Bind(0, key).Bind(1, entry.path).Bind(2, info);
  insert.Bind(3, static_cast<std::int64_t>(ChecksumOf(entry.path, info, entry.record)));
  insert.Bind(4, entry.record).Run();
}

void DatabaseWriter::NoteUses(std::span<const std::uint64_t> keys) {
  for (const std::uint64_t key : keys) {
    const auto row = static_cast<std::int64_t>(key);
    addUse.Bind(0, row).Run();
    counts.used += Changes();
    if (Changes() == 0) raiseUse.Bind(0, row).Bind(1, kMaxUse).Run();
  }
}

}  // namespace larder::feed
