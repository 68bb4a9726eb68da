#include "feed-file/fact-store.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <thread>
#include <utility>

#include "common/object-identity.h"
#include "feed-file/store-folder.h"
#include "feed-file/store-log.h"
#include "platform/file-time.h"
#include "platform/file.h"

namespace larder::feed {
namespace {

constexpr std::size_t kMaxBatch = 128;
// More than the largest record, whose chains have up to 16 MiB.
constexpr std::size_t kMaxWaitingBytes = std::size_t{32} << 20;
constexpr std::chrono::microseconds kPause(1'000);
constexpr std::chrono::milliseconds kLockTimeout(10'000);
constexpr std::chrono::milliseconds kLockTimeoutAtEnd(1'000);

// A larger record is refused, because too much would have to be removed for it.
std::uint64_t LargestRecord(std::uint64_t limit) { return std::max(limit, kMinLimit) / 8; }

}  // namespace

FactStore::FactStore(const WideString& storeFolder, std::uint64_t maxBytes,
                     const std::string& whyNone)
    : folder(storeFolder), limit(maxBytes), since(platform::CurrentFileTime()), reason(whyNone) {
  platform::MakeEvent(work.Out());
  if (folder.empty() || limit == 0) return;
  Open();
  if (environment == nullptr) return;
  platform::OpenLockFile(TurnFile(folder), turn.Out());
  if (work.Get() != nullptr) platform::StartThread(RunWriter, this, thread.Out());
  if (thread.Get() != nullptr) return;
  environment.reset();
  reason = "the writer thread can't be started";
}

FactStore::~FactStore() {
  if (thread.Get() == nullptr) return;
  {
    const std::lock_guard lock(mutex);
    stops = true;
  }
  platform::RaiseEvent(work.Get());
  platform::WaitForThread(thread.Get());
}

void FactStore::Open() try {
  const std::uint64_t index = StoreIndex(folder);
  try {
    environment = std::make_unique<StoreEnvironment>(folder, limit);
  } catch (const StoreError& error) {
    if (!error.isDamage) throw;
    // Unless another process has done so meanwhile.
    if (StoreIndex(folder) == index) {
      const WideString other = SetStoreAside(folder);
      LogWarning(error.what() + std::string("; it was moved to ") + Quoted(other) +
                 ", and a new one is created");
    }
    environment = std::make_unique<StoreEnvironment>(folder, limit);
  }
} catch (const std::exception& error) {
  LogWarning(error.what() + std::string("; there is no store"));
  SetReason(error.what());
}

void FactStore::SetReason(const std::string& text) {
  const std::lock_guard lock(mutex);
  reason = text;
}

// After damage that was found while the store was in use, or after a failure that leaves it
// unusable.
void FactStore::OpenAnew(bool isDamage) {
  const std::unique_lock lock(environmentMutex);
  if (environment == nullptr) return;
  const bool isInPlace = environment->IsInPlace();
  environment.reset();
  ++generation;
  try {
    if (isDamage && isInPlace) {
      const WideString other = SetStoreAside(folder);
      LogWarning("The store was moved to " + Quoted(other) + ", and a new one is created");
    }
    Open();
  } catch (const std::exception& error) {
    LogWarning(error.what() + std::string("; there is no store"));
    SetReason(error.what());
  }
}

// The writer ignores this if the store has been replaced since.
void FactStore::TellDamage(const StoreError& error, std::uint64_t seenGeneration) {
  if (!error.isDamage) return;
  LogWarning(error.what());
  const std::lock_guard lock(mutex);
  damagedGeneration = seenGeneration;
  platform::RaiseEvent(work.Get());
}

bool FactStore::FindStored(std::uint64_t key, const StoredFile& file, DbBuffer* record) {
  const std::shared_lock lock(environmentMutex);
  try {
    return environment != nullptr && environment->Find(key, file, record);
  } catch (const StoreError& error) {
    TellDamage(error, generation);
    return false;
  }
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

// Null if there is no store, if the record is too large for it, or if the queue is full.
std::shared_ptr<FactStore::Waiting> FactStore::Enqueue(const StoredFile& file, EntryView record,
                                                       bool isAwaited) {
  if (record.size() > LargestRecord(limit)) return {};
  const std::uint64_t key = StoreKey(file.path, file.info.lastModified);
  auto one = std::make_shared<Waiting>(KeyedEntry{key, MakeEntry(file, record)});
  if (isAwaited) {
    platform::MakeEvent(one->done.Out());
    if (one->done.Get() == nullptr) throw std::runtime_error("the system can't create an event");
  }
  {
    const std::lock_guard lock(mutex);
    if (thread.Get() == nullptr || waitingBytes + one->keyed.entry.size() > kMaxWaitingBytes)
      return {};
    queue.push_back(one);
    waiting[key] = one;
    isWaiting.store(true, std::memory_order_release);
    waitingBytes += one->keyed.entry.size();
  }
  platform::RaiseEvent(work.Get());
  return one;
}

void FactStore::Keep(const StoredFile& file, EntryView record) {
  if (!Enqueue(file, record, false)) CountRefused();
}

void FactStore::KeepNow(const StoredFile& file, EntryView record) {
  const std::shared_ptr<Waiting> one = Enqueue(file, record, true);
  if (one) {
    const platform::Handle done = one->done.Get();
    std::size_t index = 0;
    static_cast<void>(platform::WaitForAny(&done, 1, index));
  }
  const std::lock_guard lock(mutex);
  if (one && one->state == State::kStored) return;
  if (one || thread.Get() == nullptr) throw std::runtime_error(reason);
  const bool isTooLarge = record.size() > LargestRecord(limit);
  throw std::runtime_error(isTooLarge ? "it is too large for the store's limit"
                                      : "too many records are waiting to be written");
}

FileFigures FactStore::Figures() {
  FileFigures figures;
  figures.since = since;
  figures.hits = hits.load(std::memory_order_relaxed);
  figures.misses = misses.load(std::memory_order_relaxed);
  figures.computed = computed.load(std::memory_order_relaxed);
  figures.refused = refused.load(std::memory_order_relaxed);
  const std::shared_lock lock(environmentMutex);
  if (environment == nullptr) return figures;
  try {
    const StoreSize size = environment->Size();
    figures.entries = size.entries;
    figures.bytes = size.bytes;
  } catch (const StoreError& error) {
    TellDamage(error, generation);
  }
  return figures;
}

void FactStore::RunWriter(void* store) { static_cast<FactStore*>(store)->WriteUntilStopped(); }

void FactStore::WriteUntilStopped() {
  for (;;) {
    const WaitingList batch = TakeBatch(kMaxBatch);
    if (!batch.empty()) {
      WriteInTurn(batch);
      continue;
    }
    if (IsAtEnd()) return;
    const platform::Handle event = work.Get();
    std::size_t index = 0;
    static_cast<void>(platform::WaitForAny(&event, 1, index));
    platform::LowerEvent(event);  // before everything is checked again
    if (TakeDamage()) OpenAnew(true);
  }
}

void FactStore::WriteInTurn(const WaitingList& batch) {
  if (!TakeTurn()) {
    Finish(batch, false);
    // The rest isn't made to wait for another timeout.
    Finish(TakeBatch(std::numeric_limits<std::size_t>::max()), false);
    return;
  }
  const bool stored = Write(batch);
  platform::UnlockFile(turn.Get());
  Finish(batch, stored);
  std::this_thread::sleep_for(kPause);  // lets other processes write
}

bool FactStore::IsStopping() {
  const std::lock_guard lock(mutex);
  return stops;
}

// False after the timeout. If the lock file can't be opened, LMDB's own lock has to suffice.
bool FactStore::TakeTurn() {
  const auto begin = std::chrono::steady_clock::now();
  while (platform::TryLockFile(turn.Get()) == platform::kSharingViolation) {
    const auto timeout = IsStopping() ? kLockTimeoutAtEnd : kLockTimeout;
    if (std::chrono::steady_clock::now() - begin > timeout) {
      SetReason("another process that is writing to the store is stalled");
      return false;
    }
    std::this_thread::sleep_for(kPause / 2);
  }
  return true;
}

bool FactStore::IsAtEnd() {
  const std::lock_guard lock(mutex);
  return stops && queue.empty();
}

bool FactStore::TakeDamage() {
  const std::lock_guard lock(mutex);
  return std::exchange(damagedGeneration, 0) == generation;
}

FactStore::WaitingList FactStore::TakeBatch(std::size_t most) {
  const std::lock_guard lock(mutex);
  const std::size_t count = std::min(queue.size(), most);
  WaitingList batch(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(count));
  queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(count));
  return batch;
}

// An entry that a later one of the batch replaces isn't written: a page that one transaction both
// allocates at the file's end and frees is never written, and then the file looks truncated.
std::vector<const KeyedEntry*> FactStore::LastOfEachKey(const WaitingList& batch) {
  std::vector<const KeyedEntry*> entries;
  for (auto one = batch.rbegin(); one != batch.rend(); ++one) {
    const KeyedEntry* const entry = &(*one)->keyed;
    const auto isSame = [entry](const KeyedEntry* other) { return other->key == entry->key; };
    if (std::none_of(entries.begin(), entries.end(), isSame)) entries.push_back(entry);
  }
  std::reverse(entries.begin(), entries.end());
  return entries;
}

// Tries again after damage, in the new store.
bool FactStore::Write(const WaitingList& batch) {
  const std::vector<const KeyedEntry*> entries = LastOfEachKey(batch);
  for (bool again = false;; again = true) {
    try {
      if (environment == nullptr) return false;  // no other thread changes it
      environment->Write(entries);
      return true;
    } catch (const StoreError& error) {
      LogWarning(error.what());
      SetReason(error.what());
      const bool isLost = error.isDamage || !environment->IsUsable();
      if (isLost) OpenAnew(error.isDamage && !again);
      if (!isLost || again) return false;
    }
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
  for (const auto& one : batch) platform::RaiseEvent(one->done.Get());
}

}  // namespace larder::feed
