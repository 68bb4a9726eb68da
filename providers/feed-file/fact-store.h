// The file provider's store: a cache of records that outlives the process.
//
// A fault of the store isn't an error: a store that can't be opened finds nothing and keeps
// nothing, and one that is damaged or of another format is set aside and replaced by a new one.
// Both are logged.
//
// A thread of the store writes the records, many in one transaction. Find returns a record as soon
// as it is kept; other processes find it after the commit. Records that aren't committed when the
// process is killed are lost. Thread-safe.
//
// After a fork, the child has no store, neither its parent's nor one of its own: the database
// engine can't be used there. Its objects find nothing and keep nothing.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/file-figures.h"
#include "feed-file/fact-cache.h"
#include "feed-file/fact-database.h"
#include "feed-file/use-notes.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "platform/scoped-handle.h"
#include "platform/thread.h"

namespace larder::feed {

class FactStore {
 public:
  // storeFolder: from MakeStoreFolder; exists. maxBytes: of the database, at least kMinLimit. An
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
  void Keep(const StoredFile& file, RecordView record);
  // Returns when the record is stored. Throws std::runtime_error with the reason if it can't be.
  // Waits at most some seconds for a writer of another process.
  void KeepNow(const StoredFile& file, RecordView record);

  // Calls visit for each entry of the database; see FactDatabase. Throws StoreError with the reason
  // if there is none.
  void VisitAll(const FactDatabase::Visitor& visit);

  // For the counts that the provider takes.
  void CountComputed() noexcept { computed.fetch_add(1, std::memory_order_relaxed); }
  void CountRefused() noexcept { refused.fetch_add(1, std::memory_order_relaxed); }

  FileFigures Figures();

  // Whether this process was forked from the one that created the object, which must not be
  // destroyed then.
  bool IsOfParent() const noexcept;

 private:
  enum class State { kWaiting, kStored, kFailed };
  struct Waiting {
    Waiting(const StoredFile& file, WideView folded, RecordView record)
        : entry(file, WideString(folded), record) {}

    const StoreEntry entry;
    platform::OwnedHandle done{nullptr};  // set when state has changed; null if nobody waits
    State state = State::kWaiting;
  };
  using WaitingList = std::vector<std::shared_ptr<Waiting>>;
  using Clock = std::chrono::steady_clock;
  // This process's turn at writing; see turn.
  class Turn {
   public:
    Turn(FactStore& ownStore, std::chrono::milliseconds timeout);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    bool IsTaken() const { return isTaken; }

   private:
    FactStore& store;
    bool isTaken = false;  // false after the timeout
  };
  struct Opened {
    std::shared_ptr<FactDatabase> database;
    std::uint64_t generation;
  };

  static void CloseInForkedChild();
  void Enlist();
  void Delist();

  static void RunWriter(void* store);
  void WriteUntilStopped();
  void WriteOrWait();
  bool IsAtEnd();
  bool HasWork();
  WaitingList TakeBatch(std::size_t most);
  void WriteInTurn(const WaitingList& batch);
  bool IsStopping();
  void Finish(std::span<const std::shared_ptr<Waiting>> batch, bool stored) noexcept;
  void FailQueue() noexcept;
  bool Write(const WaitingList& batch);
  bool WriteOnce(const WaitingList& batch, const std::vector<std::uint64_t>& used);
  void TidyAtEnd();

  void Open();
  void OpenOrSetAside(bool isInTurn);
  void Reopen(const std::string& damage);
  void SetAside(const std::string& damage) const;
  void RepairInTurn();
  Opened Current();
  void Fail(const char* text) noexcept;
  void NoteDamage(const StoreError& error, std::uint64_t seenGeneration);
  std::string WhyNotWritable();
  std::string WhyNone();

  bool FindStored(std::uint64_t key, WideView folded, const platform::FileInfo& info,
                  DbBuffer* record);
  bool FindWaiting(std::uint64_t key, WideView folded, const platform::FileInfo& info,
                   DbBuffer* record);
  void FollowOtherWriters();
  std::shared_ptr<Waiting> Enqueue(const StoredFile& file, RecordView record, bool isAwaited);

  const WideString folder;
  const std::uint64_t limit;
  const std::uint64_t since;       // 100 ns since 1601-01-01 UTC
  const std::uint64_t forkNumber;  // counts forks, from parent to child
  std::atomic<std::uint64_t> hits = 0;
  std::atomic<std::uint64_t> misses = 0;
  std::atomic<std::uint64_t> computed = 0;
  std::atomic<std::uint64_t> refused = 0;

  FactCache cache;
  UseNotes uses;
  std::atomic<bool> isCrowded = false;
  std::atomic<Clock::rep> nextFollowing = 0;
  std::atomic<std::uint64_t> writtenCount = 0;

  // Serializes the writers of all processes, around a transaction and what follows it, so that the
  // write-ahead log is emptied between two of them. The engine's own lock would not.
  platform::OwnedHandle turn;

  platform::Lock databaseLock;  // guards the next two, which only the writer changes
  std::shared_ptr<FactDatabase> database;
  std::uint64_t generation = 1;   // counts the databases
  Clock::time_point nextOpening;  // for the writer

  platform::Lock lock;                  // guards the rest
  platform::OwnedHandle work{nullptr};  // set when the writer has something to do
  std::deque<std::shared_ptr<Waiting>> queue;
  // The latest of each key that is queued or being written.
  std::unordered_map<std::uint64_t, std::shared_ptr<Waiting>> waiting;
  std::atomic<bool> isWaiting = false;  // !waiting.empty(), readable without the lock
  std::size_t waitingBytes = 0;
  std::string reason;                   // why there is no store, or why the last batch failed
  std::uint64_t damagedGeneration = 0;  // in which damage was found, see foundDamage
  std::string foundDamage;
  bool stops = false;
  platform::OwnedHandle thread{nullptr};
};

// With less, one transaction would change a large part of the store.
inline constexpr std::uint64_t kMinLimit = std::uint64_t{8} << 20;

}  // namespace larder::feed
