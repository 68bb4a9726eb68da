#include "feed-file/store-environment.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "common/object-identity.h"
#include "platform/thread.h"
#include "platform/wide.h"

namespace larder::feed {
namespace {

constexpr std::uint64_t kFirstMap = std::uint64_t{16} << 20;
constexpr unsigned kMaxReaders = 1022;  // of all processes together
constexpr mdb_mode_t kFileMode = 0660;
constexpr int kMaxRemaps = 16;  // in succession, while another process enlarges the file
constexpr const char* kEntries = "entries";
constexpr const char* kIndex = "index";
constexpr const char* kFormat = "format";
constexpr const char* kDataFile = "data.mdb";

std::string PathForLmdb(WideString folder) {
  std::replace(folder.begin(), folder.end(), LarderWideChar{'\\'}, LarderWideChar{'/'});
  return platform::Utf8FromWide(folder);
}

MDB_val ValueOf(const char* text) { return {std::strlen(text), const_cast<char*>(text)}; }

MDB_val ValueOf(std::uint64_t& number) { return {sizeof number, &number}; }

// The first 64 bits of a value; 0 if it is shorter.
std::uint64_t NumberIn(const MDB_val& value) {
  std::uint64_t number = 0;
  if (value.mv_size >= sizeof number) std::memcpy(&number, value.mv_data, sizeof number);
  return number;
}

// The entry, which follows its key.
EntryView EntryIn(const MDB_val& value) {
  const EntryView whole(static_cast<const unsigned char*>(value.mv_data), value.mv_size);
  return whole.subspan(std::min(whole.size(), sizeof(std::uint64_t)));
}

// Valid as long as its transaction.
class Cursor {
 public:
  Cursor(MDB_txn* transaction, MDB_dbi table)
      : opening(mdb_cursor_open(transaction, table, &cursor)) {}
  ~Cursor() {
    if (cursor != nullptr) mdb_cursor_close(cursor);
  }
  Cursor(const Cursor&) = delete;
  Cursor& operator=(const Cursor&) = delete;

  int Get(MDB_val& key, MDB_val& value, MDB_cursor_op operation) const {
    return opening == MDB_SUCCESS ? mdb_cursor_get(cursor, &key, &value, operation) : opening;
  }
  MDB_cursor* Native() const { return cursor; }

 private:
  MDB_cursor* cursor = nullptr;
  int opening;
};

// Roughly the space that an entry needs: one of more than half a page has its own pages.
std::uint64_t BytesFor(const KeyedEntry& keyed) {
  constexpr std::uint64_t kPage = 4096;
  return (keyed.entry.size() + kPage) / kPage * kPage;
}

// LMDB's own codes are negative, the others the system's. (For the latter, mdb_strerror isn't safe
// on every system.)
std::string ReasonOf(int code) {
  const std::string text = code < 0 ? mdb_strerror(code) : std::system_category().message(code);
  return text + " (code " + std::to_string(code) + ')';
}

// LMDB ends the process after a failed assertion if this returns.
[[noreturn]] void FailAssertion(MDB_env*, const char* text) {
  throw StoreError(std::string("The store is inconsistent: ") + text, true);
}

struct AbortTransaction {
  void operator()(MDB_txn* transaction) const noexcept { mdb_txn_abort(transaction); }
};
using Transaction = std::unique_ptr<MDB_txn, AbortTransaction>;

}  // namespace

// A write transaction, aborted unless it is committed.
class StoreEnvironment::WriteTransaction {
 public:
  WriteTransaction(const StoreEnvironment& storeEnvironment, MDB_txn* begun)
      : environment(storeEnvironment), transaction(begun) {}

  std::uint64_t UsedBytes() const;
  int RemoveOldest();
  int Put(const KeyedEntry& keyed);
  int Commit() { return mdb_txn_commit(transaction.release()); }

 private:
  int RemoveEarlier(MDB_val key);
  int NextNumber(std::uint64_t& next) const;

  const StoreEnvironment& environment;
  Transaction transaction;
};

std::uint64_t StoreEnvironment::WriteTransaction::UsedBytes() const {
  std::uint64_t used = 0;
  for (const MDB_dbi table : {environment.entryTable, environment.indexTable}) {
    MDB_stat stat{};
    mdb_stat(transaction.get(), table, &stat);
    used += (stat.ms_branch_pages + stat.ms_leaf_pages + stat.ms_overflow_pages) * stat.ms_psize;
  }
  return used;
}

int StoreEnvironment::WriteTransaction::RemoveOldest() {
  const Cursor cursor(transaction.get(), environment.entryTable);
  MDB_val number{};
  MDB_val value{};
  int code = cursor.Get(number, value, MDB_FIRST);
  if (code == MDB_NOTFOUND) return MDB_SUCCESS;
  if (code != MDB_SUCCESS) return code;
  std::uint64_t key = NumberIn(value);
  std::uint64_t removed = NumberIn(number);
  code = mdb_cursor_del(cursor.Native(), 0);
  if (code != MDB_SUCCESS) return code;
  MDB_val keyValue = ValueOf(key);
  code = mdb_get(transaction.get(), environment.indexTable, &keyValue, &value);
  if (code == MDB_SUCCESS && NumberIn(value) == removed) {
    code = mdb_del(transaction.get(), environment.indexTable, &keyValue, nullptr);
  }
  return code == MDB_NOTFOUND ? MDB_SUCCESS : code;
}

// Removes the entry that was stored under the key before.
int StoreEnvironment::WriteTransaction::RemoveEarlier(MDB_val key) {
  MDB_val value{};
  int code = mdb_get(transaction.get(), environment.indexTable, &key, &value);
  if (code == MDB_SUCCESS) {
    std::uint64_t number = NumberIn(value);
    MDB_val numberValue = ValueOf(number);
    code = mdb_del(transaction.get(), environment.entryTable, &numberValue, nullptr);
  }
  return code == MDB_NOTFOUND ? MDB_SUCCESS : code;
}

int StoreEnvironment::WriteTransaction::NextNumber(std::uint64_t& next) const {
  const Cursor cursor(transaction.get(), environment.entryTable);
  MDB_val number{};
  MDB_val unused{};
  const int code = cursor.Get(number, unused, MDB_LAST);
  next = code == MDB_SUCCESS ? NumberIn(number) + 1 : 1;
  return code == MDB_NOTFOUND ? MDB_SUCCESS : code;
}

int StoreEnvironment::WriteTransaction::Put(const KeyedEntry& keyed) {
  std::uint64_t keyNumber = keyed.key;
  std::uint64_t number = 0;
  MDB_val key = ValueOf(keyNumber);
  MDB_val numberValue = ValueOf(number);
  if (const int code = RemoveEarlier(key)) return code;
  if (const int code = NextNumber(number)) return code;
  MDB_val place{sizeof keyNumber + keyed.entry.size(), nullptr};
  if (const int code = mdb_put(transaction.get(), environment.entryTable, &numberValue, &place,
                               MDB_RESERVE | MDB_APPEND)) {
    return code;
  }
  auto* bytes = static_cast<unsigned char*>(place.mv_data);
  std::memcpy(bytes, &keyNumber, sizeof keyNumber);
  std::memcpy(bytes + sizeof keyNumber, keyed.entry.data(), keyed.entry.size());
  return mdb_put(transaction.get(), environment.indexTable, &key, &numberValue, 0);
}

StoreEnvironment::ReadTransaction::ReadTransaction(StoreEnvironment& storeEnvironment)
    : environment(storeEnvironment), map(storeEnvironment.mapMutex) {
  {
    const std::lock_guard lock(environment.poolMutex);
    if (!environment.pool.empty()) {
      transaction = environment.pool.back();
      environment.pool.pop_back();
    }
  }
  int code = Begin();
  if (code == MDB_READERS_FULL) {
    mdb_reader_check(environment.environment.get(), nullptr);
    code = Begin();
  }
  for (int remaps = 0; code == MDB_MAP_RESIZED && remaps < kMaxRemaps; ++remaps) {
    map.unlock();
    code = environment.Remap(0);
    map.lock();
    if (code == MDB_SUCCESS) code = Begin();
  }
  if (code == MDB_SUCCESS) return;
  mdb_txn_abort(transaction);
  environment.Fail(code);
}

int StoreEnvironment::ReadTransaction::Begin() {
  if (!environment.IsUsable()) return MDB_PANIC;
  if (transaction != nullptr) return mdb_txn_renew(transaction);
  return mdb_txn_begin(environment.environment.get(), nullptr, MDB_RDONLY, &transaction);
}

StoreEnvironment::ReadTransaction::~ReadTransaction() {
  mdb_txn_reset(transaction);
  const std::lock_guard lock(environment.poolMutex);
  try {
    environment.pool.push_back(transaction);
  } catch (const std::bad_alloc&) {
    mdb_txn_abort(transaction);
  }
}

StoreEnvironment::StoreEnvironment(const WideString& folder, std::uint64_t maxBytes)
    : dataFile(folder + LARDER_WIDE("\\data.mdb")),
      path(PathForLmdb(folder)),
      limit(std::max(maxBytes, kMinLimit)) {
  Open();
}

StoreEnvironment::~StoreEnvironment() {
  for (MDB_txn* transaction : pool) mdb_txn_abort(transaction);
}

void StoreEnvironment::Fail(int code) const {
  throw StoreError("Can't use the store \"" + path + "/" + kDataFile + "\": " + ReasonOf(code),
                   IsDamage(code));
}

void StoreEnvironment::Check(int code) const {
  if (code != MDB_SUCCESS) Fail(code);
}

bool StoreEnvironment::IsDamage(int code) const {
  // The last three: numbers out of order, too deep a tree, and a failed transaction, as which LMDB
  // reports what it finds while it looks up a table.
  constexpr std::array kCodes{MDB_PAGE_NOTFOUND, MDB_CORRUPTED, MDB_VERSION_MISMATCH, MDB_INVALID,
                              MDB_INCOMPATIBLE,  MDB_KEYEXIST,  MDB_CURSOR_FULL,      MDB_BAD_TXN};
  if (std::find(kCodes.begin(), kCodes.end(), code) != kCodes.end()) return true;
  // A page beyond the maximum size of a file; an intact store has no page outside the map.
  return code == EFBIG && platform::MaxFileSize() > MapSize();
}

void StoreEnvironment::Open() {
  MDB_env* made = nullptr;
  Check(mdb_env_create(&made));
  environment.reset(made);
  Check(mdb_env_set_assert(made, FailAssertion));
  Check(mdb_env_set_maxdbs(made, 2));
  Check(mdb_env_set_maxreaders(made, kMaxReaders));
  Check(mdb_env_set_mapsize(made, std::max(std::min(kFirstMap, limit), DataFileSize())));
  // Without MDB_NOTLS, a pthread key's destructor would be called after the module is unloaded.
  Check(mdb_env_open(made, path.c_str(), MDB_NOTLS | MDB_NORDAHEAD, kFileMode));
  RequireWholeFile();
  mdb_reader_check(made, nullptr);
  if (!OpenTables(MDB_RDONLY)) OpenTables(0);
}

// An access beyond the file's end would end the process. (Where the file was extended to the size
// of the map, there are zeros now, which LMDB detects as damage.)
void StoreEnvironment::RequireWholeFile() const {
  MDB_envinfo info{};
  MDB_stat stat{};
  Check(mdb_env_info(environment.get(), &info));
  Check(mdb_env_stat(environment.get(), &stat));
  const std::uint64_t needed = (info.me_last_pgno + 1) * std::uint64_t{stat.ms_psize};
  const std::uint64_t size = DataFileSize();
  if (size >= needed) return;
  throw StoreError("The store \"" + path + "/" + kDataFile + "\" is truncated: it has " +
                       std::to_string(size) + " bytes of " + std::to_string(needed),
                   true);
}

// flags: MDB_RDONLY opens the tables and returns false if one doesn't exist; 0 creates them.
bool StoreEnvironment::OpenTables(unsigned flags) {
  const bool make = flags != MDB_RDONLY;
  const unsigned tableFlags = MDB_INTEGERKEY | (make ? MDB_CREATE : 0u);
  MDB_txn* begun = nullptr;
  Check(mdb_txn_begin(environment.get(), nullptr, flags, &begun));
  Transaction transaction(begun);
  int code = mdb_dbi_open(begun, kEntries, tableFlags, &entryTable);
  if (code == MDB_SUCCESS) code = mdb_dbi_open(begun, kIndex, tableFlags, &indexTable);
  if (code == MDB_NOTFOUND && !make) return false;
  Check(code);
  CheckFormat(begun, make);
  Check(mdb_txn_commit(transaction.release()));
  platform::FileInfo info;
  platform::FileKind kind{};
  if (platform::QueryPathInfo(dataFile, info, kind) == platform::kSuccess) dataIndex = info.index;
  return true;
}

void StoreEnvironment::CheckFormat(MDB_txn* transaction, bool make) const {
  MDB_dbi mainTable = 0;
  std::uint64_t format = kStoreFormat;
  MDB_val key = ValueOf(kFormat);
  MDB_val value = ValueOf(format);
  Check(mdb_dbi_open(transaction, nullptr, 0, &mainTable));
  int code = mdb_get(transaction, mainTable, &key, &value);
  if (code == MDB_NOTFOUND && make) {
    value = ValueOf(format);
    code = mdb_put(transaction, mainTable, &key, &value, 0);
  }
  Check(code == MDB_NOTFOUND ? MDB_INVALID : code);
  if (value.mv_size == sizeof format) std::memcpy(&format, value.mv_data, sizeof format);
  if (format == kStoreFormat && value.mv_size == sizeof format) return;
  throw StoreError("The store \"" + path + "/" + kDataFile + "\" has the format " +
                       std::to_string(format) + ", not " + std::to_string(kStoreFormat),
                   true);
}

std::uint64_t StoreEnvironment::DataFileSize() const {
  platform::FileInfo info;
  platform::FileKind kind{};
  return platform::QueryPathInfo(dataFile, info, kind) == platform::kSuccess ? info.size : 0;
}

bool StoreEnvironment::IsInPlace() const {
  platform::FileInfo info;
  platform::FileKind kind{};
  return platform::QueryPathInfo(dataFile, info, kind) == platform::kSuccess &&
         info.index == dataIndex;
}

std::uint64_t StoreEnvironment::MapSize() const {
  MDB_envinfo info{};
  if (environment != nullptr) mdb_env_info(environment.get(), &info);
  return info.me_mapsize;
}

// The new size is at least this and at least the file's. Grows in large steps, because each remap
// invalidates all that was mapped.
int StoreEnvironment::Remap(std::uint64_t size) {
  const std::unique_lock lock(mapMutex);
  if (!IsUsable()) return MDB_PANIC;
  const std::uint64_t needed = std::max(size, DataFileSize());
  std::uint64_t newSize = MapSize();
  while (newSize < needed) newSize *= 2;
  newSize = std::max(std::min(newSize, limit), needed);
  const int code = mdb_env_set_mapsize(environment.get(), newSize);
  isUnusable = code != MDB_SUCCESS;  // the old map is gone
  return code;
}

bool StoreEnvironment::Grow() {
  const std::uint64_t size = MapSize();
  if (size >= limit) return false;
  Check(Remap(std::min(limit, size * 2)));
  return true;
}

bool StoreEnvironment::Find(std::uint64_t key, const StoredFile& file, DbBuffer* record) {
  const ReadTransaction read(*this);
  MDB_val keyValue = ValueOf(key);
  MDB_val number{};
  MDB_val value{};
  int code = mdb_get(read.transaction, indexTable, &keyValue, &number);
  if (code == MDB_SUCCESS) code = mdb_get(read.transaction, entryTable, &number, &value);
  if (code == MDB_NOTFOUND) return false;
  Check(code);
  const EntryView found = RecordIn(EntryIn(value), file);
  if (found.empty()) return false;
  record->Copy(found.data(), found.size());
  return true;
}

StoreSize StoreEnvironment::Size() {
  const ReadTransaction read(*this);
  StoreSize size;
  for (const MDB_dbi table : {indexTable, entryTable}) {
    MDB_stat stat{};
    Check(mdb_stat(read.transaction, table, &stat));
    size.entries = stat.ms_entries;
    size.bytes += (stat.ms_branch_pages + stat.ms_leaf_pages + stat.ms_overflow_pages) *
                  std::uint64_t{stat.ms_psize};
  }
  return size;
}

// The number of entries that one transaction writes without changing most of the store.
std::size_t StoreEnvironment::CountInTransaction(std::span<const KeyedEntry* const> entries) const {
  std::uint64_t bytes = BytesFor(*entries.front());
  std::size_t count = 1;
  while (count < entries.size() && bytes < limit / 32) bytes += BytesFor(*entries[count++]);
  return count;
}

// In a separate transaction, because only later ones can use the pages that it frees. A quarter of
// the limit stays free, because a transaction copies what it changes, and pages that a reader may
// still use aren't reused at once.
int StoreEnvironment::MakeRoomFor(std::span<const KeyedEntry* const> entries) {
  const std::shared_lock map(mapMutex);
  if (!IsUsable()) return MDB_PANIC;
  MDB_txn* begun = nullptr;
  if (const int code = mdb_txn_begin(environment.get(), nullptr, 0, &begun)) return code;
  WriteTransaction write(*this, begun);
  std::uint64_t needed = 0;
  for (const KeyedEntry* keyed : entries) needed += BytesFor(*keyed);
  if (write.UsedBytes() + needed <= limit / 4 * 3) return MDB_SUCCESS;
  // Many small entries may have to be removed for a large one, but a limit that was lowered isn't
  // reached in one transaction.
  for (std::size_t i = 0; i < 32 * entries.size() + 64; ++i) {
    if (const int code = write.RemoveOldest()) return code;
    if (write.UsedBytes() + needed <= limit / 4 * 3) break;
  }
  return write.Commit();
}

int StoreEnvironment::TryWrite(std::span<const KeyedEntry* const> entries) {
  if (const int code = MakeRoomFor(entries)) return code;
  const std::shared_lock map(mapMutex);
  if (!IsUsable()) return MDB_PANIC;
  MDB_txn* begun = nullptr;
  if (const int code = mdb_txn_begin(environment.get(), nullptr, 0, &begun)) return code;
  WriteTransaction write(*this, begun);
  for (const KeyedEntry* keyed : entries) {
    if (const int code = write.Put(*keyed)) return code;
  }
  return write.Commit();
}

void StoreEnvironment::WriteSome(std::span<const KeyedEntry* const> entries) {
  int remaps = 0;
  int fulls = 0;
  for (;;) {
    const int code = TryWrite(entries);
    if (code == MDB_SUCCESS) return;
    if (code == MDB_MAP_RESIZED && remaps++ < kMaxRemaps) {
      Check(Remap(0));
      continue;
    }
    if (code == MDB_PANIC) isUnusable = true;  // a commit failed; the file is intact
    if (code != MDB_MAP_FULL) Fail(code);
    if (Grow()) continue;
    // Pages of readers that were killed are still reserved.
    mdb_reader_check(environment.get(), nullptr);
    if (++fulls == 4) throw StoreError("No space can be freed in the store \"" + path + '"', false);
  }
}

void StoreEnvironment::Write(std::span<const KeyedEntry* const> entries) {
  while (!entries.empty()) {
    const std::size_t count = CountInTransaction(entries);
    WriteSome(entries.first(count));
    entries = entries.subspan(count);
  }
}

}  // namespace larder::feed
