// The disk side of the statements: the process-wide list of listeners.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace larder {

// A sink for finished lines. Log is called on whatever thread makes a statement, on several at
// once, and must not throw. It may make statements itself.
class LRLogListener {
 public:
  // One whole line with its line end, NUL-terminated; good during the call only.
  virtual void Log(const char* line) = 0;

  LRLogListener() = default;
  LRLogListener(const LRLogListener&) = delete;
  LRLogListener& operator=(const LRLogListener&) = delete;

 protected:
  ~LRLogListener() = default;
};

// True from the first AddListener of the process on, for ever.
extern std::atomic<bool> DiskLogEnabled;
inline bool IsDiskLogEnabled() noexcept { return DiskLogEnabled.load(std::memory_order_relaxed); }

// The list. It doesn't own the listeners.
//
// Threads: Log runs on any number of threads, also while a listener is added or removed, and takes
// no lock. AddListener and RemoveListener are called one at a time (the library does so under its
// handle lock). When RemoveListener has returned, no thread is inside that listener and none will
// enter it, so the caller may delete it. RemoveListener waits for threads that are inside any
// listener, so it must not be called from within a listener's Log.
class LRLogListenerList {
 public:
  static LRLogListenerList& Instance();

  // Appends the listener, unless it is in the list already, and opens the disk test for good.
  // Throws std::bad_alloc; the list is as it was then.
  void AddListener(LRLogListener* listener);
  // Takes the listener out; the order of the others is kept. One that isn't there is no error.
  // Can't fail.
  void RemoveListener(LRLogListener* listener) noexcept;
  // Calls each listener in order. A listener that is added meanwhile is reached too.
  void Log(const char* line);

  // Empties the list in the child of a fork, where the listeners' threads and the parent's threads
  // that may have been inside don't exist. What the parent had is left unused.
  void ForgetInForkedChild() noexcept;

  LRLogListenerList(const LRLogListenerList&) = delete;
  LRLogListenerList& operator=(const LRLogListenerList&) = delete;

 private:
  // Published as a whole. An entry changes only once, to null, when its listener is removed. An
  // addition publishes a new array, in which every listener keeps its index: a thread that goes on
  // from one array to the next neither misses nor repeats one.
  struct Array {
    std::size_t count;
    Array* retired;  // the array that this one replaced: a thread may still be reading it
    std::atomic<LRLogListener*> entries[1];
  };
  class Reading;

  LRLogListenerList() = default;
  ~LRLogListenerList();
  static Array* MakeArray(std::size_t room);
  static void FreeArrays(Array* array) noexcept;
  std::atomic<LRLogListener*>* Find(const LRLogListener* listener) noexcept;
  void WaitForReaders() noexcept;

  std::atomic<Array*> current{nullptr};
  // Threads that read are counted under the period they entered in; a change of period, followed by
  // a wait for the old one's count, waits for exactly those that may have seen an older array.
  std::atomic<std::uint32_t> period{0};
  std::atomic<std::uint32_t> readers[2]{};
  // How a removal sleeps; a thread that reads comes here only to wake one. (The wait of std::atomic
  // loses wake-ups where the system has none of its own to offer, as with MinGW's runtime.)
  std::atomic<bool> isRemovalWaiting{false};
  std::mutex mutex;
  std::condition_variable readersGone;
};

}  // namespace larder
