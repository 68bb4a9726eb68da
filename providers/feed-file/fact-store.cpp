#include "feed-file/fact-store.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <thread>
#include <utility>

#include "common/object-identity.h"
#include "feed-file/engine-system.h"
#include "feed-file/store-folder.h"
#include "feed-file/store-log.h"
#include "platform/file-time.h"
#include "platform/file.h"
#include "platform/path.h"

namespace larder::feed {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kMaxBatch = 256;
// More than the largest record, whose chains have up to 16 MiB.
constexpr std::size_t kMaxWaitingBytes = std::size_t{32} << 20;
constexpr std::chrono::microseconds kPause(1'000);
constexpr milliseconds kLockTimeout(10'000);
constexpr milliseconds kLockTimeoutAtEnds(1'000);  // when a client initializes or releases
constexpr std::chrono::seconds kPatience(1);
constexpr std::chrono::seconds kOpeningInterval(30);
constexpr std::chrono::seconds kFollowingInterval(1);

// A larger record is refused, because too much would have to be removed for it.
std::uint64_t LargestRecord(std::uint64_t limit) { return limit / 8; }

// The stores of this process, for a forked child, which can't take a lock. More stores than these
// exist only in tests.
std::array<std::atomic<FactStore*>, 8> Stores;
std::atomic<std::uint64_t> ForkNumber = 0;
std::atomic<bool> HadStoreBeforeFork = false;

void WatchForks(void (*function)()) {
  static const bool isWatched = (platform::CallInForkedChild(function), true);
  static_cast<void>(isWatched);
}

}  // namespace

// Files that stay open in the child would keep the locks of its parent.
void FactStore::CloseInForkedChild() {
  ForkNumber.fetch_add(1);
  for (std::atomic<FactStore*>& one : Stores) {
    FactStore* const store = one.exchange(nullptr);
    if (store == nullptr) continue;
    HadStoreBeforeFork = true;
    platform::CloseObject(store->turn.Get());
  }
  CloseEngineFilesInForkedChild();
}

void FactStore::Enlist() {
  WatchForks(CloseInForkedChild);
  for (std::atomic<FactStore*>& one : Stores) {
    FactStore* none = nullptr;
    if (one.compare_exchange_strong(none, this)) return;
  }
}

void FactStore::Delist() {
  for (std::atomic<FactStore*>& one : Stores) {
    FactStore* self = this;
    one.compare_exchange_strong(self, nullptr);
  }
}

bool FactStore::IsOfParent() const noexcept { return forkNumber != ForkNumber; }

FactStore::FactStore(const WideString& storeFolder, std::uint64_t maxBytes,
                     const std::string& whyNone)
    : folder(storeFolder),
      limit(std::max(maxBytes, kMinLimit)),
      since(platform::CurrentFileTime()),
      forkNumber(ForkNumber),
      reason(whyNone) {
  platform::MakeEvent(work.Out());
  if (HadStoreBeforeFork) reason = "this process was forked from one that had the store open";
  if (folder.empty() || maxBytes == 0 || HadStoreBeforeFork || work.Get() == nullptr) return;
  platform::OpenLockFile(TurnFile(folder), turn.Out());
  Enlist();
  Open();
  platform::StartThread(RunWriter, this, thread.Out());
  if (thread.Get() != nullptr) return;
  database.reset();
  reason = "the writer thread can't be started";
}

FactStore::~FactStore() {
  if (thread.Get() != nullptr) {
    {
      const std::lock_guard guard(lock);
      stops = true;
    }
    platform::RaiseEvent(work.Get());
    platform::WaitForThread(thread.Get());
  }
  Delist();
}

// --- Opening

void FactStore::Open() {
  nextOpening = Clock::now() + kOpeningInterval;
  try {
    const Turn own(*this, kLockTimeoutAtEnds);
    OpenOrSetAside(own.IsTaken());
  } catch (const std::exception& error) {
    LogWarning(error.what() + std::string("; there is no store"));
    Fail(error.what());
  }
}

void FactStore::OpenOrSetAside(bool isInTurn) {
  std::shared_ptr<FactDatabase> opened;
  try {
    PrepareStoreFolder(folder);
    opened = std::make_shared<FactDatabase>(folder, limit);
  } catch (const StoreError& error) {
    if (!error.isDamage || !isInTurn) throw;
    SetAside(error.what());
    opened = std::make_shared<FactDatabase>(folder, limit);
  }
  isCrowded = opened->IsCrowded();
  const std::lock_guard guard(databaseLock);
  database = std::move(opened);
}

void FactStore::SetAside(const std::string& damage) const {
  const WideString other = SetStoreAside(folder);
  LogWarning(damage + "; it was moved to " + Quoted(other) + ", and a new one is created");
}

FactStore::Opened FactStore::Current() {
  const std::lock_guard guard(databaseLock);
  return {database, generation};
}

// For the writer, in its turn.
void FactStore::Reopen(const std::string& damage) {
  std::shared_ptr<FactDatabase> old;
  {
    const std::lock_guard guard(databaseLock);
    old = std::move(database);
    ++generation;
  }
  const bool isInPlace = old != nullptr && old->IsInPlace();
  // On some systems a folder can't be renamed while one of its files is open, by a query.
  const Clock::time_point end = Clock::now() + kPatience;
  while (old.use_count() > 1 && Clock::now() < end) std::this_thread::sleep_for(kPause);
  old.reset();
  nextOpening = Clock::now() + kOpeningInterval;
  try {
    if (!damage.empty() && isInPlace) SetAside(damage);
    OpenOrSetAside(true);
  } catch (const std::exception& error) {
    LogWarning(error.what() + std::string("; there is no store"));
    Fail(error.what());
  }
}

void FactStore::Fail(const char* text) noexcept try {
  const std::lock_guard guard(lock);
  reason = text;
} catch (const std::bad_alloc&) {
  return;  // an earlier reason has to do
}

// The writer ignores this if the store has been replaced since.
void FactStore::NoteDamage(const StoreError& error, std::uint64_t seenGeneration) {
  if (!error.isDamage) return;
  const std::lock_guard guard(lock);
  damagedGeneration = seenGeneration;
  foundDamage = error.what();
  platform::RaiseEvent(work.Get());
}

// --- Reading

bool FactStore::FindWaiting(std::uint64_t key, WideView folded, const platform::FileInfo& info,
                            DbBuffer* record) {
  std::shared_ptr<const Waiting> found;
  {
    const std::lock_guard guard(lock);
    const auto place = waiting.find(key);
    if (place == waiting.end()) return false;
    found = place->second;
  }
  if (!found->entry.IsOf(folded, info)) return false;
  record->Copy(found->entry.record.data(), found->entry.record.size());
  return true;
}

bool FactStore::FindStored(std::uint64_t key, WideView folded, const platform::FileInfo& info,
                           DbBuffer* record) {
  const Opened opened = Current();
  try {
    return opened.database != nullptr && opened.database->Find(key, folded, info, record);
  } catch (const StoreError& error) {
    NoteDamage(error, opened.generation);
    return false;
  }
}

// Another process may have stored a client's record in place of one that is in the cache.
void FactStore::FollowOtherWriters() {
  const Clock::rep now = Clock::now().time_since_epoch().count();
  Clock::rep next = nextFollowing.load(std::memory_order_relaxed);
  if (now < next) return;
  const Clock::rep after = now + Clock::duration(kFollowingInterval).count();
  if (!nextFollowing.compare_exchange_strong(next, after)) return;
  const Opened opened = Current();
  try {
    if (opened.database == nullptr) return;
    const std::uint64_t count = opened.database->WrittenCount() + (opened.generation << 32);
    if (writtenCount.exchange(count) != count) cache.Clear();
  } catch (const StoreError& error) {
    NoteDamage(error, opened.generation);
  }
}

bool FactStore::Find(const StoredFile& file, DbBuffer* record) {
  if (IsOfParent()) return false;
  WideString memory;
  const WideView folded = platform::FoldCase(file.path, memory);
  const std::uint64_t key = StoreKey(folded);
  FactCache::Ticket ticket = 0;
  FollowOtherWriters();
  bool found =
      (isWaiting.load(std::memory_order_acquire) && FindWaiting(key, folded, file.info, record)) ||
      cache.Find(key, folded, file.info, record, ticket);
  if (!found) {
    found = FindStored(key, folded, file.info, record);
    if (found) cache.Add(ticket, key, folded, file.info, {record->data, record->size});
  }
  if (found && isCrowded.load(std::memory_order_relaxed) && uses.Note(key)) {
    platform::RaiseEvent(work.Get());
  }
  (found ? hits : misses).fetch_add(1, std::memory_order_relaxed);
  return found;
}

void FactStore::VisitAll(const FactDatabase::Visitor& visit) {
  const Opened opened = IsOfParent() ? Opened() : Current();
  if (opened.database == nullptr) throw StoreError(WhyNone(), false);
  try {
    opened.database->VisitAll(visit);
  } catch (const StoreError& error) {
    NoteDamage(error, opened.generation);
    throw;
  }
}

FileFigures FactStore::Figures() {
  FileFigures figures;
  figures.since = since;
  figures.hits = hits.load(std::memory_order_relaxed);
  figures.misses = misses.load(std::memory_order_relaxed);
  figures.computed = computed.load(std::memory_order_relaxed);
  figures.refused = refused.load(std::memory_order_relaxed);
  if (IsOfParent()) return figures;
  const Opened opened = Current();
  if (opened.database == nullptr) return figures;
  try {
    const StoreSize size = opened.database->Size();
    figures.entries = size.entries;
    figures.bytes = size.bytes;
  } catch (const StoreError& error) {
    NoteDamage(error, opened.generation);
  }
  return figures;
}

// --- Writing

// Empty if records can be written, as far as it is known without trying.
std::string FactStore::WhyNotWritable() {
  if (IsOfParent()) return WhyNone();
  const Opened opened = Current();
  if (opened.database != nullptr && !opened.database->IsWritable()) {
    return "this process has no right to write to the store";
  }
  return thread.Get() == nullptr ? WhyNone() : std::string();
}

// Why there is no store.
std::string FactStore::WhyNone() {
  if (IsOfParent()) return "this process was forked from one that had the store open";
  const std::lock_guard guard(lock);
  return reason.empty() ? "it is being replaced" : reason;
}

// Null if there is no store, if the record is too large for it, or if the queue is full.
std::shared_ptr<FactStore::Waiting> FactStore::Enqueue(const StoredFile& file, RecordView record,
                                                       bool isAwaited) {
  if (record.size() > LargestRecord(limit) || !WhyNotWritable().empty()) return {};
  WideString memory;
  auto one = std::make_shared<Waiting>(file, platform::FoldCase(file.path, memory), record);
  if (isAwaited) {
    platform::MakeEvent(one->done.Out());
    if (one->done.Get() == nullptr) throw std::runtime_error("the system can't create an event");
  }
  uses.Forget(one->entry.key);
  {
    const std::lock_guard guard(lock);
    if (waitingBytes + one->entry.Size() > kMaxWaitingBytes) return {};
    waiting[one->entry.key] = one;
    queue.push_back(one);
    isWaiting.store(true, std::memory_order_release);
    waitingBytes += one->entry.Size();
  }
  platform::RaiseEvent(work.Get());
  return one;
}

void FactStore::Keep(const StoredFile& file, RecordView record) try {
  if (!Enqueue(file, record, false)) CountRefused();
} catch (const std::bad_alloc&) {
  CountRefused();
}

void FactStore::KeepNow(const StoredFile& file, RecordView record) {
  const std::shared_ptr<Waiting> one = Enqueue(file, record, true);
  if (one) {
    const platform::Handle done = one->done.Get();
    std::size_t index = 0;
    static_cast<void>(platform::WaitForAny(&done, 1, index));
    const std::lock_guard guard(lock);
    if (one->state == State::kStored) return;
    throw std::runtime_error(reason);
  }
  const std::string why = WhyNotWritable();
  if (!why.empty()) throw std::runtime_error(why);
  const bool isTooLarge = record.size() > LargestRecord(limit);
  throw std::runtime_error(isTooLarge ? "it is too large for the store's limit"
                                      : "too many records are waiting to be written");
}

void FactStore::RunWriter(void* store) { static_cast<FactStore*>(store)->WriteUntilStopped(); }

void FactStore::WriteUntilStopped() {
  while (!IsAtEnd()) {
    try {
      WriteOrWait();
    } catch (const std::bad_alloc&) {
      FailQueue();
    }
  }
  try {
    RepairInTurn();  // the client may release right after the call that found the damage
    TidyAtEnd();
  } catch (const std::bad_alloc&) {
    return;
  }
}

void FactStore::WriteOrWait() {
  RepairInTurn();
  if (HasWork()) return WriteInTurn(TakeBatch(kMaxBatch));
  if (IsAtEnd()) return;
  const platform::Handle event = work.Get();
  std::size_t index = 0;
  static_cast<void>(platform::WaitForAny(&event, 1, index));
  platform::LowerEvent(event);  // before everything is checked again
  if (uses.IsFull()) WriteInTurn({});
}

bool FactStore::HasWork() {
  const std::lock_guard guard(lock);
  return !queue.empty();
}

bool FactStore::IsAtEnd() {
  const std::lock_guard guard(lock);
  return stops && queue.empty();
}

bool FactStore::IsStopping() {
  const std::lock_guard guard(lock);
  return stops;
}

void FactStore::RepairInTurn() {
  std::string damage;
  {
    const std::lock_guard guard(lock);
    damage = std::exchange(foundDamage, {});
    if (std::exchange(damagedGeneration, 0) != generation) return;  // only this thread changes it
  }
  const Turn own(*this, kLockTimeout);
  if (own.IsTaken()) Reopen(damage);
}

// If the lock file can't be opened, the engine's own lock has to suffice.
FactStore::Turn::Turn(FactStore& ownStore, milliseconds timeout) : store(ownStore) {
  const auto begin = Clock::now();
  while (platform::TryLockFile(store.turn.Get()) == platform::kSharingViolation) {
    if (Clock::now() - begin > (store.IsStopping() ? kLockTimeoutAtEnds : timeout)) return;
    std::this_thread::sleep_for(kPause / 2);
  }
  isTaken = true;
}

FactStore::Turn::~Turn() {
  if (isTaken) platform::UnlockFile(store.turn.Get());
}

FactStore::WaitingList FactStore::TakeBatch(std::size_t most) {
  const std::lock_guard guard(lock);
  const std::size_t count = std::min(queue.size(), most);
  WaitingList batch(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(count));
  queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(count));
  return batch;
}

void FactStore::WriteInTurn(const WaitingList& batch) {
  bool isStalled = false;
  bool stored = false;
  try {
    const Turn own(*this, kLockTimeout);
    isStalled = !own.IsTaken();
    if (isStalled) Fail("another process that is writing to the store is stalled");
    if (!isStalled) stored = Write(batch);
  } catch (const std::bad_alloc&) {
    Fail("there isn't enough memory");
  }
  Finish(batch, stored);
  if (isStalled) FailQueue();           // the rest isn't made to wait for another timeout
  std::this_thread::sleep_for(kPause);  // lets other processes write
}

// Tries again after damage, in the new store.
bool FactStore::Write(const WaitingList& batch) {
  const std::vector<std::uint64_t> used = uses.Take();
  if (database == nullptr && Clock::now() < nextOpening) return false;
  if (database == nullptr || !database->IsInPlace()) Reopen({});
  for (bool again = false; database != nullptr; again = true) {
    try {
      return WriteOnce(batch, used);
    } catch (const StoreError& error) {
      Fail(error.what());
      if (!error.isDamage || again) {
        LogWarning(error.what());
        return false;
      }
      Reopen(error.what());
    }
  }
  return false;
}

// Of several entries with one key the last is stored.
bool FactStore::WriteOnce(const WaitingList& batch, const std::vector<std::uint64_t>& used) {
  if (!database->IsWritable()) return false;
  std::unordered_map<std::uint64_t, const StoreEntry*> last;
  bool isClients = false;
  for (const auto& one : batch) {
    last[one->entry.key] = &one->entry;
    isClients = isClients || one->done.Get() != nullptr;
  }
  std::vector<const StoreEntry*> entries;
  entries.reserve(last.size());
  for (const auto& [key, entry] : last) entries.push_back(entry);
  // In the order of the file.
  std::sort(entries.begin(), entries.end(), [](const StoreEntry* one, const StoreEntry* other) {
    return static_cast<std::int64_t>(one->key) < static_cast<std::int64_t>(other->key);
  });
  database->Write({entries, used, isClients});
  isCrowded = database->IsCrowded();
  return true;
}

void FactStore::Finish(std::span<const std::shared_ptr<Waiting>> batch, bool stored) noexcept {
  {
    const std::lock_guard guard(lock);
    for (const auto& one : batch) {
      cache.Remove(one->entry.key);
      one->state = stored ? State::kStored : State::kFailed;
      waitingBytes -= one->entry.Size();
      const auto place = waiting.find(one->entry.key);
      if (place != waiting.end() && place->second == one) waiting.erase(place);
    }
    isWaiting.store(!waiting.empty(), std::memory_order_release);
  }
  if (!stored) refused.fetch_add(batch.size(), std::memory_order_relaxed);
  for (const auto& one : batch) platform::RaiseEvent(one->done.Get());
}

// Allocates nothing.
void FactStore::FailQueue() noexcept {
  for (;;) {
    std::shared_ptr<Waiting> one;
    {
      const std::lock_guard guard(lock);
      if (queue.empty()) return;
      one = std::move(queue.front());
      queue.pop_front();
    }
    Finish({&one, 1}, false);
  }
}

// So that the next process needn't read the write-ahead log.
void FactStore::TidyAtEnd() {
  const std::vector<std::uint64_t> used = uses.Take();
  if (database == nullptr || !database->IsWritable()) return;
  if (used.empty() && !database->HasWritten()) return;
  const Turn own(*this, kLockTimeoutAtEnds);
  if (!own.IsTaken()) return;
  try {
    if (!used.empty()) database->Write({{}, used, false});
    database->Tidy();
  } catch (const StoreError& error) {
    LogWarning(error.what());
  }
}

}  // namespace larder::feed
