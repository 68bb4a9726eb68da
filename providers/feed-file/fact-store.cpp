#include "feed-file/fact-store.h"

#include <algorithm>
#include <utility>

#include "common/object-identity.h"
#include "feed-file/store-folder.h"
#include "feed-file/store-log.h"
#include "platform/file.h"

namespace larder::feed {
namespace {

constexpr std::size_t kMostInBatch = 128;
constexpr std::size_t kMostWaitingBytes = std::size_t{16} << 20;

}  // namespace

FactStore::FactStore(const WideString& storeFolder, std::uint64_t mostBytes,
                     const std::string& whyNone)
    : folder(storeFolder), limit(mostBytes), since(platform::CurrentFileTime()), reason(whyNone) {
  if (folder.empty() || limit == 0) return;
  Open();
  if (environment == nullptr) return;
  thread = platform::StartThread(RunWriter, this);
  if (thread != nullptr) return;
  environment.reset();
  reason = "the thread that writes can't be started";
}

FactStore::~FactStore() {
  if (thread == nullptr) return;
  {
    const std::lock_guard lock(mutex);
    stops = true;
  }
  work.notify_one();
  platform::WaitForThread(thread);
  platform::CloseObject(thread);
}

void FactStore::Open() try {
  try {
    environment = std::make_unique<StoreEnvironment>(folder, limit);
  } catch (const StoreError& error) {
    if (!error.isDamage) throw;
    const WideString other = SetStoreAside(folder);
    SayInLog(error.what() + std::string("; it is ") + Quoted(other) + " now, and made anew");
    environment = std::make_unique<StoreEnvironment>(folder, limit);
  }
} catch (const std::exception& error) {
  SayInLog(error.what() + std::string("; there is no store"));
  SetReason(error.what());
}

void FactStore::SetReason(const std::string& text) {
  const std::lock_guard lock(mutex);
  reason = text;
}

// After damage that showed while the store was in use.
void FactStore::OpenAnew() {
  const std::unique_lock lock(environmentMutex);
  if (environment == nullptr) return;
  const bool isInPlace = environment->IsInPlace();
  environment.reset();
  try {
    if (isInPlace) {
      const WideString other = SetStoreAside(folder);
      SayInLog("The store is " + Quoted(other) + " now, and made anew");
    }
    Open();
  } catch (const std::exception& error) {
    SayInLog(error.what() + std::string("; there is no store"));
    SetReason(error.what());
  }
}

void FactStore::TellDamage(const StoreError& error) {
  if (!error.isDamage) return;
  SayInLog(error.what());
  const std::lock_guard lock(mutex);
  isDamaged = true;
  work.notify_one();
}

bool FactStore::FindStored(std::uint64_t key, const StoredFile& file, DbBuffer* record) try {
  const std::shared_lock lock(environmentMutex);
  return environment != nullptr && environment->Find(key, file, record);
} catch (const StoreError& error) {
  TellDamage(error);
  return false;
}

bool FactStore::FindWaiting(std::uint64_t key, const StoredFile& file, DbBuffer* record) {
  std::shared_ptr<const Waiting> found;
  {
    const std::lock_guard lock(mutex);
    const auto place = waiting.find(key);
    if (place == waiting.end()) return false;
    found = place->second;
  }
  const EntryView bytes = RecordIn(found->keyed.entry, file);
  if (bytes.empty()) return false;
  record->Copy(bytes.data(), bytes.size());
  return true;
}

bool FactStore::Find(const StoredFile& file, DbBuffer* record) {
  const std::uint64_t key = StoreKey(file.path, file.info.lastModified);
  const bool found =
      (isWaiting.load(std::memory_order_acquire) && FindWaiting(key, file, record)) ||
      FindStored(key, file, record);
  (found ? hits : misses).fetch_add(1, std::memory_order_relaxed);
  return found;
}

// Null if there is no store, or too much waits.
std::shared_ptr<FactStore::Waiting> FactStore::Enqueue(const StoredFile& file, EntryView record) {
  const std::uint64_t key = StoreKey(file.path, file.info.lastModified);
  auto one = std::make_shared<Waiting>(KeyedEntry{key, MakeEntry(file, record)});
  {
    const std::lock_guard lock(mutex);
    if (thread == nullptr || waitingBytes + one->keyed.entry.size() > kMostWaitingBytes) return {};
    queue.push_back(one);
    waiting[key] = one;
    isWaiting.store(true, std::memory_order_release);
    waitingBytes += one->keyed.entry.size();
  }
  work.notify_one();
  return one;
}

void FactStore::Keep(const StoredFile& file, EntryView record) {
  if (!Enqueue(file, record)) CountRefused();
}

void FactStore::KeepNow(const StoredFile& file, EntryView record) {
  const std::shared_ptr<Waiting> one = Enqueue(file, record);
  std::unique_lock lock(mutex);
  if (one) done.wait(lock, [&] { return one->state != State::kWaiting; });
  if (one && one->state == State::kStored) return;
  const bool isFull = !one && thread != nullptr;
  throw std::runtime_error(isFull ? "too much waits to be written" : reason);
}

FileFigures FactStore::Figures() {
  FileFigures figures;
  figures.since = since;
  figures.hits = hits.load(std::memory_order_relaxed);
  figures.misses = misses.load(std::memory_order_relaxed);
  figures.computed = computed.load(std::memory_order_relaxed);
  figures.refused = refused.load(std::memory_order_relaxed);
  try {
    const std::shared_lock lock(environmentMutex);
    if (environment == nullptr) return figures;
    const StoreSize size = environment->Size();
    figures.entries = size.entries;
    figures.bytes = size.bytes;
  } catch (const StoreError& error) {
    TellDamage(error);
  }
  return figures;
}

void FactStore::RunWriter(void* store) { static_cast<FactStore*>(store)->WriteUntilStopped(); }

void FactStore::WriteUntilStopped() {
  for (;;) {
    bool damaged = false;
    {
      std::unique_lock lock(mutex);
      work.wait(lock, [this] { return stops || isDamaged || !queue.empty(); });
      damaged = std::exchange(isDamaged, false);
      if (!damaged && queue.empty()) return;
    }
    if (damaged) OpenAnew();
    const WaitingList batch = TakeBatch();
    if (!batch.empty()) Finish(batch, Write(batch));
  }
}

FactStore::WaitingList FactStore::TakeBatch() {
  const std::lock_guard lock(mutex);
  const std::size_t count = std::min(queue.size(), kMostInBatch);
  WaitingList batch(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(count));
  queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(count));
  return batch;
}

// Once more after damage, into a store that is made anew.
bool FactStore::Write(const WaitingList& batch) {
  std::vector<const KeyedEntry*> entries;
  for (const auto& one : batch) entries.push_back(&one->keyed);
  for (bool again = false;; again = true) {
    try {
      if (environment == nullptr) return false;  // no other thread changes it
      environment->Write(entries);
      return true;
    } catch (const StoreError& error) {
      SayInLog(error.what());
      SetReason(error.what());
      if (!error.isDamage || again) return false;
    }
    OpenAnew();
  }
}

void FactStore::Finish(const WaitingList& batch, bool stored) {
  {
    const std::lock_guard lock(mutex);
    for (const auto& one : batch) {
      one->state = stored ? State::kStored : State::kFailed;
      waitingBytes -= one->keyed.entry.size();
      const auto place = waiting.find(one->keyed.key);
      if (place != waiting.end() && place->second == one) waiting.erase(place);
    }
    isWaiting.store(!waiting.empty(), std::memory_order_release);
  }
  if (!stored) refused.fetch_add(batch.size(), std::memory_order_relaxed);
  done.notify_all();
}

}  // namespace larder::feed
