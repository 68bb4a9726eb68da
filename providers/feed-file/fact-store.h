// The file provider's store: facts about files, kept from one process to the next.
//
// It is a cache, and whatever is wrong with it is no reason to fail: a store that can't be opened
// finds nothing and keeps nothing, one that turns out to be damaged, or to be of another format, is
// set aside and made anew. Lines of the log tell of both.
//
// What is kept is written by a thread of the store's own, many entries at once, each time to the
// disk. Find sees it at once, other processes when it has been written; what hasn't been when a
// process is killed is lost. Any thread may call. Not for the child of a fork.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/file-figures.h"
#include "feed-file/store-environment.h"
#include "feed-file/store-lock.h"
#include "platform/event.h"
#include "platform/thread.h"

namespace larder::feed {

class FactStore {
 public:
  // storeFolder exists: it is that of MakeStoreFolder. maxBytes: of the file, see
  // StoreEnvironment. An empty folder or a limit of 0 means that there is no store, for the reason
  // given.
  FactStore(const WideString& storeFolder, std::uint64_t maxBytes, const std::string& whyNone = {});
  // Returns when all is written, or has to be given up since another process that writes doesn't go
  // on. No call may run.
  ~FactStore();
  FactStore(const FactStore&) = delete;
  FactStore& operator=(const FactStore&) = delete;

  // False if nothing is stored of the file in this state; record stays as it was then.
  bool Find(const StoredFile& file, DbBuffer* record);

  // Stores a copy of the record some time soon, or not at all.
  void Keep(const StoredFile& file, EntryView record);
  // Returns when it is stored; throws std::runtime_error with the reason if it can't be. Waits for
  // another process that writes for some seconds at most.
  void KeepNow(const StoredFile& file, EntryView record);

  // Counts what only the provider knows of.
  void CountComputed() noexcept { computed.fetch_add(1, std::memory_order_relaxed); }
  void CountRefused() noexcept { refused.fetch_add(1, std::memory_order_relaxed); }

  FileFigures Figures();

 private:
  enum class State { kWaiting, kStored, kFailed };
  struct Waiting {
    explicit Waiting(KeyedEntry entry) : keyed(std::move(entry)) {}
    ~Waiting() { platform::CloseObject(done); }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

    const KeyedEntry keyed;
    platform::Handle done = nullptr;  // raised when state has changed; null if nobody waits for it
    State state = State::kWaiting;
  };
  using WaitingList = std::vector<std::shared_ptr<Waiting>>;

  static void RunWriter(void* store);
  void WriteUntilStopped();
  bool IsAtEnd();
  bool TakeDamage();
  WaitingList TakeBatch(std::size_t most);
  void WriteInTurn(const WaitingList& batch);
  bool IsStopping();
  bool TakeTurn();
  void Finish(const WaitingList& batch, bool stored);
  static std::vector<const KeyedEntry*> LastOfEachKey(const WaitingList& batch);
  bool Write(const WaitingList& batch);
  void Open();
  void OpenAnew(bool isDamage);
  void SetReason(const std::string& text);
  void TellDamage(const StoreError& error, std::uint64_t seenGeneration);
  bool FindStored(std::uint64_t key, const StoredFile& file, DbBuffer* record);
  bool FindWaiting(std::uint64_t key, const StoredFile& file, DbBuffer* record);
  std::shared_ptr<Waiting> Enqueue(const StoredFile& file, EntryView record, bool isAwaited);

  const WideString folder;
  const std::uint64_t limit;
  const std::uint64_t since;  // 100 ns since 1601-01-01 UTC
  std::atomic<std::uint64_t> hits = 0;
  std::atomic<std::uint64_t> misses = 0;
  std::atomic<std::uint64_t> computed = 0;
  std::atomic<std::uint64_t> refused = 0;

  // Whose turn it is to write, among all processes: LMDB's own lock would wait without a limit for
  // one that was stopped amid a transaction.
  platform::Handle turn = platform::InvalidHandle();

  StoreLock environmentMutex;  // guards the pointer and the number; the writer alone changes them
  std::unique_ptr<StoreEnvironment> environment;
  std::uint64_t generation = 1;  // of the environments

  StoreLock mutex;                  // guards the rest
  platform::Handle work = nullptr;  // raised when there is something to do
  std::deque<std::shared_ptr<Waiting>> queue;
  // What is queued or is being written, the latest of each key.
  std::unordered_map<std::uint64_t, std::shared_ptr<Waiting>> waiting;
  std::atomic<bool> isWaiting = false;  // whether there are any, for those who don't hold the mutex
  std::size_t waitingBytes = 0;
  std::string reason;                   // why there is no store, or why the last batch failed
  std::uint64_t damagedGeneration = 0;  // that showed damage
  bool stops = false;
  platform::Handle thread = nullptr;
};

}  // namespace larder::feed
