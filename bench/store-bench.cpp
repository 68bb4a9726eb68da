// A query that the file provider answers from its store, through the exports and with the look at
// the file, beside the store's own prepared SELECT of the same record without any look, and beside
// the same query by the classes of client.hpp.
#include <larder/feed-file.h>
#include <larder/client.hpp>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <numeric>
#include <random>
#include <stdexcept>

#include "feed-file/fact-database.h"
#include "feed-file/store-engine.h"
#include "feed-file/store-folder.h"
#include "machine.h"
#include "platform/file.h"
#include "platform/registry.h"
#include "platform/scoped-handle.h"
#include "suite.h"
#include "support/registry.h"
#include "testing/files.h"

namespace larder {
namespace {

constexpr std::uint64_t kLimitInMiB = 16384;
constexpr std::int64_t kFiles = 10'000;  // existing files; the other entries belong to none
constexpr std::int64_t kSmallStore = 1000;
constexpr std::uint32_t kCertificate = 100;
constexpr std::size_t kBatch = 250'000;

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

// A machine with files and with stores that contain their records, one for each number of entries.
// One of the stores is in its place.
class StoreMachine : public Machine {
 public:
  StoreMachine() {
    Register({});
    SetRegistryString(kFeedFileKey, kModuleValue, LARDER_WIDE("feed-file.dll"));
    SetLimit();
    MakeFiles();
  }

  // No host may exist. Fills the store when it is used for the first time.
  void UseStore(std::int64_t entries) {
    if (entries == current) return;
    const std::filesystem::path store = PathOf(feed::MakeStoreFolder());
    if (current != 0) std::filesystem::rename(store, AsideOf(current));
    if (std::filesystem::exists(AsideOf(entries))) {
      std::filesystem::rename(AsideOf(entries), store);
    } else {
      Fill(entries);
    }
    current = entries;
  }

  // Existing files whose records are in a store.
  static std::int64_t FilesIn(std::int64_t entries) { return std::min(entries, kFiles); }
  const WideString& Path(std::size_t index) const { return paths[index]; }
  std::filesystem::path NativePath(std::size_t index) const {
    return Folder() / ("file-" + std::to_string(index));
  }
  const void* Descriptor(std::size_t index) const { return descriptors[index].data(); }

 private:
  static void SetLimit() {
    const WideString path = WideString(LarderRegistryRoot) + kFeedFileKey;
    const std::uint32_t limit = kLimitInMiB;
    platform::OwnedRegistryKey key;
    if (platform::MakeRegistryKey(path, platform::kKeySetValue, key.Out()) != 0 ||
        platform::SetRegistryValue(key.Get(), LARDER_WIDE("dwStoreLimitMiB"), platform::kRegDword,
                                   &limit, sizeof limit) != 0) {
      throw std::runtime_error("the store's limit can't be set");
    }
  }

  std::filesystem::path AsideOf(std::int64_t entries) const {
    return Folder() / ("store-" + std::to_string(entries));
  }

  void MakeFiles() {
    for (std::int64_t i = 0; i < kFiles; ++i) {
      const std::filesystem::path file = NativePath(static_cast<std::size_t>(i));
      std::ofstream(file) << i;
      paths.push_back(WidePath(file.filename().string()));
      const std::size_t size = (paths.back().size() + 1) * sizeof(LarderWideChar);
      std::vector<unsigned char>& descriptor = descriptors.emplace_back(8 + size);
      std::copy_n(reinterpret_cast<const unsigned char*>(paths.back().c_str()), size,
                  descriptor.begin() + 8);
    }
  }

  void Fill(std::int64_t entries) const {
    const WideString folder = feed::MakeStoreFolder();
    feed::PrepareStoreFolder(folder);
    feed::FactDatabase store(folder, kLimitInMiB << 20);
    std::vector<std::unique_ptr<feed::StoreEntry>> batch;
    for (std::int64_t i = 0; i < entries; ++i) {
      batch.push_back(MakeEntry(i, entries));
      if (batch.size() == kBatch || i + 1 == entries) Write(store, batch);
    }
    store.Tidy();
  }

  // Spreads the existing files over all entries.
  std::unique_ptr<feed::StoreEntry> MakeEntry(std::int64_t number, std::int64_t entries) const {
    static const Record record = MakeRecord();
    const std::string name = "\\no file " + std::to_string(number);
    WideString path(name.begin(), name.end());
    feed::StoredFile file{{}, {}};
    if (number % (entries / FilesIn(entries)) == 0) {
      path = paths[static_cast<std::size_t>(number * FilesIn(entries) / entries)];
      platform::FileKind kind{};
      if (platform::QueryPathInfo(path, file.info, kind) != platform::kSuccess) {
        throw std::runtime_error("a file's state can't be queried");
      }
    }
    file.path = path;
    return std::make_unique<feed::StoreEntry>(
        file, path,
        feed::RecordView{reinterpret_cast<const unsigned char*>(&record), sizeof record});
  }

  static void Write(feed::FactDatabase& store,
                    std::vector<std::unique_ptr<feed::StoreEntry>>& batch) {
    std::vector<const feed::StoreEntry*> pointers;
    pointers.reserve(batch.size());
    for (const auto& entry : batch) pointers.push_back(entry.get());
    std::ranges::sort(pointers, {}, &feed::StoreEntry::key);  // reads and writes each page once
    store.Write({pointers, {}});
    batch.clear();
  }

  std::int64_t current = 0;
  std::vector<WideString> paths;
  std::vector<std::vector<unsigned char>> descriptors;
};

void Query(const Host& host, const void* descriptor) {
  DataBlockHeader* data = nullptr;
  if (LarderQuery(host.handle, descriptor, LARDER_FEED_FILE_TYPE, LARDER_FEED_FILE_STORED, &data,
                  LARDER_QUERY_VERSION) != LARDER_OK) {
    throw std::runtime_error("the store doesn't answer");
  }
  LarderFreeQuery(host.handle, data);
}

// Asks about some of the files again and again, in random order.
void AskAgain(benchmark::State& state, std::size_t files) {
  auto& machine = Shared<StoreMachine>();
  machine.UseStore(kSmallStore);
  const Host host;
  for (std::size_t i = 0; i < files; ++i) Query(host, machine.Descriptor(i));
  std::minstd_rand random;
  for (auto _ : state) Query(host, machine.Descriptor(random() % files));
}

void StoreHit(benchmark::State& state) { AskAgain(state, kSmallStore); }
BENCHMARK(StoreHit);

void SessionHit(benchmark::State& state) {
  auto& machine = Shared<StoreMachine>();
  machine.UseStore(kSmallStore);
  const Session session;
  std::vector<FileObject> files;
  for (std::size_t i = 0; i < kSmallStore; ++i) files.emplace_back(machine.NativePath(i));
  const auto query = [&](const FileObject& file) {
    if (!session.QueryFile(file, LARDER_FEED_FILE_STORED)) {
      throw std::runtime_error("the store doesn't answer");
    }
  };
  for (const FileObject& file : files) query(file);
  std::minstd_rand random;
  for (auto _ : state) query(files[random() % files.size()]);
}
BENCHMARK(SessionHit);

void StoreHitSameFile(benchmark::State& state) { AskAgain(state, 1); }
BENCHMARK(StoreHitSameFile);

std::vector<std::size_t> Shuffled(std::int64_t count) {
  std::vector<std::size_t> numbers(static_cast<std::size_t>(count));
  std::iota(numbers.begin(), numbers.end(), 0);
  std::ranges::shuffle(numbers, std::minstd_rand());
  return numbers;
}

// Asks once about half of the files, in random order, when the other half has filled the caches.
void StoreFirstHit(benchmark::State& state) {
  auto& machine = Shared<StoreMachine>();
  machine.UseStore(state.range(0));
  const std::vector<std::size_t> files = Shuffled(StoreMachine::FilesIn(state.range(0)));
  const std::size_t half = files.size() / 2;
  for (auto _ : state) {
    const Host host;
    for (std::size_t i = 0; i < half; ++i) Query(host, machine.Descriptor(files[i]));
    const auto begin = std::chrono::steady_clock::now();
    for (std::size_t i = half; i < files.size(); ++i) Query(host, machine.Descriptor(files[i]));
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    state.SetIterationTime(taken.count());
  }
  state.counters[kEach] = static_cast<double>(files.size() - half);
}
BENCHMARK(StoreFirstHit)->Arg(1000)->Arg(1'000'000)->Iterations(1)->UseManualTime();

// The statement of a hit, as the store prepares it, on the same database: what a hit would cost at
// least if nothing were kept in memory, and without a look at the file.
class StoreSelect {
 public:
  StoreSelect() {
    for (std::int64_t i = 0; i < kSmallStore; ++i) {
      keys.push_back(feed::StoreKey(Shared<StoreMachine>().Path(static_cast<std::size_t>(i))));
    }
  }

  // Returns a copy of the record, as a query does.
  std::unique_ptr<unsigned char[]> Find(std::size_t index) {
    const feed::ResetAtEnd end(select);
    if (!select.Bind(0, static_cast<std::int64_t>(keys[index])).Step()) {
      throw std::runtime_error("no row");
    }
    const auto record = select.Bytes(3);
    std::unique_ptr<unsigned char[]> copy(new unsigned char[record.size()]);
    std::ranges::copy(record, copy.get());
    return copy;
  }

 private:
  const feed::Engine engine;
  feed::Connection connection{feed::MakeStoreFolder() + LARDER_WIDE("\\facts.db"),
                              feed::Connection::Access::kRead};
  feed::Statement select{connection, "SELECT path, info, checksum, record FROM fact WHERE key = ?"};
  std::vector<std::uint64_t> keys;
};

void SelectRows(benchmark::State& state, std::size_t rows) {
  Shared<StoreMachine>().UseStore(kSmallStore);
  StoreSelect store;
  std::minstd_rand random;
  for (auto _ : state) benchmark::DoNotOptimize(store.Find(random() % rows));
}

void Select(benchmark::State& state) { SelectRows(state, kSmallStore); }
BENCHMARK(Select);

void SelectSameRow(benchmark::State& state) { SelectRows(state, 1); }
BENCHMARK(SelectSameRow);

}  // namespace
}  // namespace larder
