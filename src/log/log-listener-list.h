// The process-wide list of listeners, to which statements send the lines for the disk.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "log/log-gate.h"

namespace larder {

// A sink for finished lines. Log is called on the thread that executes a statement, on several
// threads at the same time, and must not throw. It may execute statements itself.
class LRLogListener {
 public:
  // line: one whole line with its line end, NUL-terminated; valid during the call only.
  virtual void Log(const char* line) = 0;

  LRLogListener() = default;
  LRLogListener(const LRLogListener&) = delete;
  LRLogListener& operator=(const LRLogListener&) = delete;

 protected:
  ~LRLogListener() = default;
};

// The list. It doesn't own the listeners.
//
// Threads: Log may be called from any thread, also while a listener is added or removed, and takes
// no lock. The caller serializes AddListener and RemoveListener (the library holds its handle
// lock). When RemoveListener has returned, no thread is inside that listener and none will enter
// it, so the caller may delete it. RemoveListener waits for threads that are inside any listener,
// so it must not be called from within a listener's Log.
//
// In cache lines of its own, because its readers write to it.
class alignas(64) LRLogListenerList {
 public:
  static LRLogListenerList& Instance();

  // Appends the listener unless it is in the list already, and opens the gate (log-gate.h) for the
  // disk. Throws std::bad_alloc, with the list unchanged.
  void AddListener(LRLogListener* listener);
  // Removes the listener; the others keep their order. Does nothing if it isn't in the list.
  void RemoveListener(LRLogListener* listener) noexcept;
  // Calls each listener in order, including one that is added meanwhile.
  void Log(const char* line);

  // Empties the list in a forked child, where neither the listeners' threads exist nor the parent's
  // threads that may have been inside. The parent's arrays stay in memory, unused.
  void ForgetInForkedChild() noexcept;

  LRLogListenerList(const LRLogListenerList&) = delete;
  LRLogListenerList& operator=(const LRLogListenerList&) = delete;

 private:
  // An entry changes only once, to null, when its listener is removed.
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

  // In a cache line of its own. Readers are counted under the parity of the period in which they
  // entered.
  struct alignas(64) Counters {
    std::atomic<std::uint32_t> readers[2]{};
  };

  bool HasReaders(std::uint32_t parity) const noexcept;

  std::atomic<Array*> current{nullptr};
  std::atomic<std::uint32_t> period{0};
  Counters counters[8];  // which one a reader uses depends on its thread
};

}  // namespace larder
