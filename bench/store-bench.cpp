// The time of a query that the file provider answers from its store, through the exports and with
// the check of the file, compared with a prepared SELECT of the same record from an SQLite database
// without such a check.
#include <benchmark/benchmark.h>
#include <larder/feed-file.h>
#include <larder/larder.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "feed-file/fact-database.h"
#include "feed-file/store-folder.h"
#include "log/log-listener-list.h"
#include "platform/file.h"
#include "platform/registry.h"
#include "platform/scoped-handle.h"
#include "platform/wide.h"
#include "product/product.h"
#include "support/registry.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

constexpr std::uint64_t kLimitInMiB = 16384;
constexpr std::size_t kFiles = 1000;  // existing files; the other entries belong to none
constexpr std::uint32_t kCertificate = 100;
constexpr int kRounds = 300'000;  // fixed, so that each store is filled only once

void NoCall(std::int32_t) {}

struct Record {
  FileDataRecord file;
  CertChainRecord chain;
  CertDataRecord certificate;
  unsigned char bytes[kCertificate];
};

Record MakeRecord() {
  Record record{};
  record.file.dataSize = sizeof record;
  record.file.providerType = LARDER_FEED_FILE_TYPE;
  record.certificate.certSize = kCertificate;
  return record;
}

feed::RecordView ViewOf(const Record& record) {
  return {reinterpret_cast<const unsigned char*>(&record), sizeof record};
}

// A host on a machine whose store has the given number of entries.
class Machine {
 public:
  explicit Machine(std::int64_t entries) {
    for (const char* module : {"feed-file.dll", "stock-file-query.dll"}) {
      std::filesystem::copy_file(std::filesystem::path(LARDER_BENCH_MODULES) / module,
                                 machine.Folder() / module);
    }
    SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), machine.WideFolder());
    SetRegistryString(LARDER_WIDE("DataProviders\\F"), LARDER_WIDE("szDLL"),
                      LARDER_WIDE("feed-file.dll"));
    SetLimit();
    MakeFiles();
    Fill(entries);
    if (LarderInit(NoCall, &handle) != LARDER_OK) throw std::runtime_error("no host");
    DiskLogEnabled = false;
  }
  ~Machine() { LarderRelease(); }

  const void* Descriptor(std::size_t index) const { return descriptors[index].data(); }

  TestMachine machine;
  LarderHandle handle = nullptr;

 private:
  static void SetLimit() {
    const WideString path =
        WideString(LarderRegistryRoot).append(LARDER_WIDE("DataProviders\\FeedFile"));
    const std::uint32_t limit = kLimitInMiB;
    platform::OwnedRegistryKey key;
    if (platform::MakeRegistryKey(path, platform::kKeySetValue, key.Out()) != 0 ||
        platform::SetRegistryValue(key.Get(), LARDER_WIDE("dwStoreLimitMiB"), platform::kRegDword,
                                   &limit, sizeof limit) != 0) {
      throw std::runtime_error("no registry");
    }
  }

  void MakeFiles() {
    for (std::size_t i = 0; i < kFiles; ++i) {
      const std::string name = "file-" + std::to_string(i);
      std::ofstream(machine.Folder() / name) << name;
      WideString path = machine.WideFolder() + WideString(name.begin(), name.end());
      std::vector<unsigned char> descriptor(8 + (path.size() + 1) * 2);
      std::copy_n(reinterpret_cast<const unsigned char*>(path.c_str()), (path.size() + 1) * 2,
                  descriptor.begin() + 8);
      descriptors.push_back(std::move(descriptor));
      paths.push_back(std::move(path));
    }
  }

  void Fill(std::int64_t entries) const {
    const WideString folder = feed::MakeStoreFolder();
    feed::PrepareStoreFolder(folder);
    feed::FactDatabase store(folder, kLimitInMiB << 20);
    std::vector<std::unique_ptr<feed::StoreEntry>> batch;
    const Record record = MakeRecord();
    for (std::int64_t i = 0; i < entries; ++i) {
      feed::StoredFile file{{}, {}};
      const std::string name = "\\no file " + std::to_string(i);
      const WideString other(name.begin(), name.end());
      file.path = other;
      platform::FileKind kind{};
      // Spreads the existing files over all entries.
      if (i % (entries / static_cast<std::int64_t>(kFiles)) == 0) {
        file.path =
            paths[static_cast<std::size_t>(i * static_cast<std::int64_t>(kFiles) / entries)];
        if (platform::QueryPathInfo(WideString(file.path), file.info, kind) != 0) std::abort();
      }
      batch.push_back(
          std::make_unique<feed::StoreEntry>(file, WideString(file.path), ViewOf(record)));
      if (batch.size() == 5000 || i + 1 == entries) Write(store, batch);
    }
    store.Tidy();
  }

  static void Write(feed::FactDatabase& store,
                    std::vector<std::unique_ptr<feed::StoreEntry>>& batch) {
    std::vector<const feed::StoreEntry*> pointers;
    for (const auto& entry : batch) pointers.push_back(entry.get());
    store.Write({pointers, {}});
    batch.clear();
  }

  std::vector<WideString> paths;
  std::vector<std::vector<unsigned char>> descriptors;
};

void AnswerFromStore(benchmark::State& state) {
  const Machine machine(state.range(0));
  std::minstd_rand random;
  for (auto _ : state) {
    DataBlockHeader* data = nullptr;
    const std::int32_t result =
        LarderQuery(machine.handle, machine.Descriptor(random() % kFiles), LARDER_FEED_FILE_TYPE,
                    LARDER_FEED_FILE_STORED, &data, LARDER_QUERY_VERSION);
    if (result != LARDER_OK) {
      state.SkipWithError("no answer");
      break;
    }
    LarderFreeQuery(machine.handle, data);
  }
}
BENCHMARK(AnswerFromStore)->Arg(1000)->Arg(1'000'000)->Iterations(kRounds);

class Database {
 public:
  Database(const std::filesystem::path& path, std::int64_t rows) {
    if (sqlite3_open(path.c_str(), &database) != SQLITE_OK) throw std::runtime_error("no database");
    Run("PRAGMA journal_mode=WAL; PRAGMA synchronous=OFF; PRAGMA mmap_size=17179869184;"
        "CREATE TABLE facts (key INTEGER PRIMARY KEY, record BLOB NOT NULL); BEGIN");
    sqlite3_stmt* insert = Prepare("INSERT INTO facts VALUES (?, ?)");
    const Record record = MakeRecord();
    for (std::int64_t key = 0; key < rows; ++key) {
      sqlite3_bind_int64(insert, 1, key);
      sqlite3_bind_blob(insert, 2, &record, sizeof record, SQLITE_STATIC);
      sqlite3_step(insert);
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    Run("COMMIT; PRAGMA wal_checkpoint(TRUNCATE)");
    select = Prepare("SELECT record FROM facts WHERE key = ?");
  }
  ~Database() {
    sqlite3_finalize(select);
    sqlite3_close(database);
  }

  // Returns a copy of the record, as a query does.
  std::unique_ptr<unsigned char[]> Find(std::int64_t key) {
    sqlite3_bind_int64(select, 1, key);
    std::unique_ptr<unsigned char[]> copy;
    if (sqlite3_step(select) == SQLITE_ROW) {
      const auto size = static_cast<std::size_t>(sqlite3_column_bytes(select, 0));
      copy.reset(new unsigned char[size]);
      std::copy_n(static_cast<const unsigned char*>(sqlite3_column_blob(select, 0)), size,
                  copy.get());
    }
    sqlite3_reset(select);
    return copy;
  }

 private:
  void Run(const char* text) {
    if (sqlite3_exec(database, text, nullptr, nullptr, nullptr) != SQLITE_OK) {
      throw std::runtime_error(sqlite3_errmsg(database));
    }
  }
  sqlite3_stmt* Prepare(const char* text) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(database, text, -1, &statement, nullptr);
    return statement;
  }

  sqlite3* database = nullptr;
  sqlite3_stmt* select = nullptr;
};

// Reads as many different rows as the other benchmark has files.
void SelectFromSqlite(benchmark::State& state) {
  const TestMachine machine;
  Database database(machine.Folder() / "facts.db", state.range(0));
  std::minstd_rand random;
  const std::int64_t step = state.range(0) / static_cast<std::int64_t>(kFiles);
  for (auto _ : state) {
    const auto copy = database.Find(static_cast<std::int64_t>(random() % kFiles) * step);
    if (!copy) {
      state.SkipWithError("no row");
      break;
    }
    benchmark::DoNotOptimize(copy.get());
  }
}
BENCHMARK(SelectFromSqlite)->Arg(1000)->Arg(1'000'000)->Iterations(kRounds);

}  // namespace
}  // namespace larder
