#include "feed-file/fact-database.h"

#include <cstring>
#include <limits>
#include <mutex>
#include <string>
#include <utility>

#include "feed-file/database-writer.h"
#include "platform/path.h"

namespace larder::feed {
namespace {

constexpr std::size_t kMaxPooled = 16;

// Returns 0 for a file that doesn't exist.
std::uint64_t IndexOf(const WideString& path) {
  platform::FileInfo info;
  platform::FileKind kind{};
  static_cast<void>(platform::QueryPathInfo(path, info, kind));
  return info.index;
}

// The engine would open a FIFO, and reports a folder as it reports a missing right.
void RequireFiles(const WideString& database) {
  for (const WideView suffix : {LARDER_WIDE(""), LARDER_WIDE("-wal"), LARDER_WIDE("-shm")}) {
    const WideString path = WideString(database).append(suffix);
    platform::FileInfo info;
    platform::FileKind kind = platform::FileKind::kRegular;
    const platform::Code code = platform::QueryPathInfo(path, info, kind);
    const bool isLoop = code == platform::kCannotResolveName;  // a link that leads to itself
    if (!isLoop && (code != platform::kSuccess || kind == platform::FileKind::kRegular)) continue;
    throw StoreError("\"" + platform::Utf8FromWide(path) + "\" isn't a regular file", true);
  }
}

bool HasLog(const WideString& database) {
  platform::FileInfo info;
  platform::FileKind kind{};
  const platform::Code code = platform::QueryPathInfo(database + LARDER_WIDE("-wal"), info, kind);
  return code != platform::kFileNotFound && (code != platform::kSuccess || info.size != 0);
}

void RequireFormat(Connection& connection, const WideString& file) {
  const std::int64_t format = connection.Number("PRAGMA user_version");
  if (format == kStoreFormat) return;
  throw StoreError("The store \"" + platform::Utf8FromWide(file) + "\" has the format " +
                       std::to_string(format) + ", not " + std::to_string(kStoreFormat),
                   true);
}

// The columns of an entry, from the statement's first on.
struct Row {
  explicit Row(const Statement& statement)
      : path(statement.Text(0)), infoBytes(statement.Bytes(1)), record(statement.Bytes(3)) {
    if (infoBytes.size() == sizeof info) std::memcpy(&info, infoBytes.data(), sizeof info);
  }

  bool IsIntact(std::int64_t checksum) const {
    return infoBytes.size() == sizeof info && !record.empty() &&
           ChecksumOf(path, infoBytes.first<sizeof info>(), record) ==
               static_cast<std::uint64_t>(checksum);
  }

  std::string_view path;
  std::span<const unsigned char> infoBytes;
  platform::FileInfo info;
  RecordView record;
};

bool IsPath(std::string_view path, WideView folded) {
  WideString wide;
  WideString memory;
  return platform::WideFromUtf8(path, wide) && IsSame(platform::FoldCase(wide, memory), folded);
}

}  // namespace

// One thread's connection for reading.
class DatabaseReader {
 public:
  DatabaseReader(const WideString& databaseFile, Connection::Access access)
      : file(databaseFile),
        connection(databaseFile, access),
        select(connection, "SELECT path, info, checksum, record FROM fact WHERE key = ?") {}

  bool Find(std::uint64_t key, WideView folded, const platform::FileInfo& info, DbBuffer* record) {
    const ResetAtEnd end(select);
    if (!select.Bind(0, static_cast<std::int64_t>(key)).Step()) return false;
    const Row row(select);
    // What differs here may also be damaged, but then it isn't used.
    if (row.info != info || !IsPath(row.path, folded)) return false;
    RequireIntact(row, select);
    record->Copy(row.record.data(), row.record.size());
    return true;
  }

  // In steps, so that the log can be emptied in between.
  void VisitAll(const FactDatabase::Visitor& visit) {
    Statement next(connection,
                   "SELECT path, info, checksum, record, key FROM fact WHERE key > ?"
                   " ORDER BY key LIMIT 1000");
    std::int64_t last = std::numeric_limits<std::int64_t>::min();
    for (bool hasMore = true; hasMore;) {
      const ResetAtEnd end(next);
      hasMore = false;
      next.Bind(0, last);
      while (next.Step()) {
        const Row row(next);
        RequireIntact(row, next);
        hasMore = true;
        last = next.Number(4);
        if (!visit(row.path, row.info, row.record)) return;
      }
    }
  }

  Connection& Own() { return connection; }

 private:
  void RequireIntact(const Row& row, const Statement& statement) const {
    if (row.IsIntact(statement.Number(2))) return;
    throw StoreError("The store \"" + platform::Utf8FromWide(file) +
                         "\" is damaged: the checksum of an entry is wrong",
                     true);
  }

  const WideString file;
  Connection connection;
  Statement select;
};

// A reader of the pool, for the duration of a call. After a failure it isn't used again.
class FactDatabase::Lease {
 public:
  explicit Lease(FactDatabase& ownDatabase)
      : database(ownDatabase), reader(ownDatabase.TakeReader()) {}
  ~Lease() {
    if (isGood) database.ReturnReader(std::move(reader));
  }
  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;

  template <typename Call>
  auto Use(Call&& call) {
    isGood = false;
    auto result = call(*reader);
    isGood = true;
    return result;
  }

 private:
  FactDatabase& database;
  std::unique_ptr<DatabaseReader> reader;
  bool isGood = true;
};

FactDatabase::FactDatabase(const WideString& folder, std::uint64_t maxBytes)
    : file(folder + LARDER_WIDE("\\facts.db")) {
  RequireFiles(file);
  Open(maxBytes);
  fileIndex = IndexOf(file);
}

FactDatabase::~FactDatabase() = default;

void FactDatabase::Open(std::uint64_t maxBytes) {
  if (OpenToWrite(maxBytes)) return;
  try {
    ReturnReader(std::make_unique<DatabaseReader>(file, readAccess));
  } catch (const StoreError& error) {
    // Without the right to create the files beside the database.
    if (error.isDamage || HasLog(file)) throw;
    readAccess = Connection::Access::kReadFrozen;
    ReturnReader(std::make_unique<DatabaseReader>(file, readAccess));
  }
  RequireFormat(TakeReader()->Own(), file);
}

// False if this process may only read.
bool FactDatabase::OpenToWrite(std::uint64_t maxBytes) try {
  Connection connection(file, Connection::Access::kWrite);
  if (sqlite3_db_readonly(connection.Native(), nullptr) == 1) return false;
  const bool isNew = connection.Number("SELECT count(*) FROM sqlite_schema") == 0;
  if (!isNew) RequireFormat(connection, file);
  writer = std::make_unique<DatabaseWriter>(std::move(connection), maxBytes);
  return true;
} catch (const StoreError& error) {
  if ((error.code & 0xFF) != SQLITE_READONLY) throw;
  return false;
}

std::unique_ptr<DatabaseReader> FactDatabase::TakeReader() {
  {
    const std::lock_guard lock(poolLock);
    if (!pool.empty()) {
      std::unique_ptr<DatabaseReader> reader = std::move(pool.back());
      pool.pop_back();
      return reader;
    }
  }
  return std::make_unique<DatabaseReader>(file, readAccess);
}

void FactDatabase::ReturnReader(std::unique_ptr<DatabaseReader> reader) noexcept try {
  const std::lock_guard lock(poolLock);
  if (pool.size() < kMaxPooled) pool.push_back(std::move(reader));
} catch (const std::bad_alloc&) {
  return;
}

bool FactDatabase::Find(std::uint64_t key, WideView folded, const platform::FileInfo& info,
                        DbBuffer* record) {
  return Lease(*this).Use(
      [&](DatabaseReader& reader) { return reader.Find(key, folded, info, record); });
}

void FactDatabase::VisitAll(const Visitor& visit) {
  Lease(*this).Use([&](DatabaseReader& reader) {
    reader.VisitAll(visit);
    return true;
  });
}

StoreSize FactDatabase::Size() {
  return Lease(*this).Use([](DatabaseReader& reader) {
    Connection& connection = reader.Own();
    const std::int64_t pages =
        connection.Number("PRAGMA page_count") - connection.Number("PRAGMA freelist_count");
    return StoreSize{static_cast<std::uint64_t>(connection.Number("SELECT entries FROM state")),
                     static_cast<std::uint64_t>(pages * connection.Number("PRAGMA page_size"))};
  });
}

std::uint64_t FactDatabase::WrittenCount() {
  return Lease(*this).Use([](DatabaseReader& reader) {
    return static_cast<std::uint64_t>(reader.Own().Number("SELECT written FROM state"));
  });
}

void FactDatabase::Write(const StoreBatch& batch) { writer->Write(batch); }

bool FactDatabase::IsCrowded() const noexcept { return writer != nullptr && writer->IsCrowded(); }

bool FactDatabase::HasWritten() const noexcept { return writer->HasWritten(); }

void FactDatabase::Tidy() { writer->Tidy(); }

bool FactDatabase::IsInPlace() const { return IndexOf(file) == fileIndex; }

}  // namespace larder::feed
