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
  if (work != nullptr) thread = platform::StartThread(RunWriter, this);
  if (thread != nullptr) return;
  environment.reset();
  reason = "the thread that writes can't be started";
}

FactStore::~FactStore() {
  if (thread != nullptr) {
    {
      const std::lock_guard lock(mutex);
      stops = true;
    }
    platform::RaiseEvent(work);
    platform::WaitForThread(thread);
    platform::CloseObject(thread);
  }
  platform::CloseObject(work);
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
  platform::RaiseEvent(work);
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
std::shared_ptr<FactStore::Waiting> FactStore::Enqueue(const StoredFile& file, EntryView record,
                                                       platform::Handle event) {
  const std::uint64_t key = StoreKey(file.path, file.info.lastModified);
  auto one = std::make_shared<Waiting>(KeyedEntry{key, MakeEntry(file, record)}, event);
  {
    const std::lock_guard lock(mutex);
    if (thread == nullptr || waitingBytes + one->keyed.entry.size() > kMostWaitingBytes) return {};
    queue.push_back(one);
    waiting[key] = one;
    isWaiting.store(true, std::memory_order_release);
    waitingBytes += one->keyed.entry.size();
  }
  platform::RaiseEvent(work);
  return one;
}

void FactStore::Keep(const StoredFile& file, EntryView record) {
  if (!Enqueue(file, record, nullptr)) CountRefused();
}

void FactStore::KeepNow(const StoredFile& file, EntryView record) {
  const platform::Handle event = platform::MakeEvent();
  if (event == nullptr) throw std::runtime_error("the system has no event left to wait for");
  const std::shared_ptr<Waiting> one = Enqueue(file, record, event);
  std::size_t index = 0;
  if (one) static_cast<void>(platform::WaitForAny(&event, 1, index));
  const std::lock_guard lock(mutex);
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
    const WaitingList batch = TakeBatch();
    if (!batch.empty()) {
      Finish(batch, Write(batch));
      continue;
    }
    if (IsAtEnd()) return;
    std::size_t index = 0;
    static_cast<void>(platform::WaitForAny(&work, 1, index));
    platform::LowerEvent(work);  // and then everything is looked at again
    if (TakeDamage()) OpenAnew();
  }
}

bool FactStore::IsAtEnd() {
  const std::lock_guard lock(mutex);
  return stops && queue.empty();
}

bool FactStore::TakeDamage() {
  const std::lock_guard lock(mutex);
  return std::exchange(isDamaged, false);
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
  for (const auto& one : batch) platform::RaiseEvent(one->done);
}

}  // namespace larder::feed
