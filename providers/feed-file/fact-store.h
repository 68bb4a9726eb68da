// The file provider's store: a cache of records that outlives the process.
//
// A fault of the store isn't an error: a store that can't be opened finds nothing and keeps
// nothing, and one that is damaged or of another format is set aside and replaced by a new one.
// Both are logged.
//
// A thread of the store writes the records, many in one synchronous commit. Find returns a record
// as soon as it is kept; other processes find it after the commit. Records that aren't committed
// when the process is killed are lost. Thread-safe. Must not be used in the child of a fork.
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
#include "platform/scoped-handle.h"
#include "platform/thread.h"

namespace larder::feed {

class FactStore {
 public:
  // storeFolder: from MakeStoreFolder; exists. maxBytes: of the file, see StoreEnvironment. An
  // empty folder or a limit of 0 means no store, for the reason whyNone.
  FactStore(const WideString& storeFolder, std::uint64_t maxBytes, const std::string& whyNone = {});
  // Waits until all records are written, but gives up if another writer is stalled. No other call
  // may be running.
  ~FactStore();
  FactStore(const FactStore&) = delete;
  FactStore& operator=(const FactStore&) = delete;

  // False, and record unchanged, if there is no record of the file in this state.
  bool Find(const StoredFile& file, DbBuffer* record);

  // Stores a copy of the record later, or not at all.
  void Keep(const StoredFile& file, EntryView record);
  // Returns when the record is stored. Throws std::runtime_error with the reason if it can't be.
  // Waits at most some seconds for a writer of another process.
  void KeepNow(const StoredFile& file, EntryView record);

  // For the counts that the provider takes.
  void CountComputed() noexcept { computed.fetch_add(1, std::memory_order_relaxed); }
  void CountRefused() noexcept { refused.fetch_add(1, std::memory_order_relaxed); }

  FileFigures Figures();

 private:
  enum class State { kWaiting, kStored, kFailed };
  struct Waiting {
    explicit Waiting(KeyedEntry entry) : keyed(std::move(entry)) {}

    const KeyedEntry keyed;
    platform::OwnedHandle done{nullptr};  // set when state has changed; null if nobody waits
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

  // Serializes the writers of all processes. LMDB's own lock would wait without a limit for a
  // process that was suspended within a transaction.
  platform::OwnedHandle turn;

  StoreLock environmentMutex;  // guards the next two, which only the writer changes
  std::unique_ptr<StoreEnvironment> environment;
  std::uint64_t generation = 1;  // counts the environments

  StoreLock mutex;                      // guards the rest
  platform::OwnedHandle work{nullptr};  // set when the writer has something to do
  std::deque<std::shared_ptr<Waiting>> queue;
  // The latest of each key that is queued or being written.
  std::unordered_map<std::uint64_t, std::shared_ptr<Waiting>> waiting;
  std::atomic<bool> isWaiting = false;  // !waiting.empty(), readable without the mutex
  std::size_t waitingBytes = 0;
  std::string reason;                   // why there is no store, or why the last batch failed
  std::uint64_t damagedGeneration = 0;  // in which damage was found
  bool stops = false;
  platform::OwnedHandle thread{nullptr};
};

}  // namespace larder::feed
