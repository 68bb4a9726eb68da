// Processes files on several threads and returns the results in the files' order.
//
// Files are numbered in the order in which they are found. A thread takes the next file with its
// number, processes it, and stores the result in a ring buffer of `window` slots, at the number
// modulo the window. Take waits for the slot of the lowest number that hasn't been taken, and
// empties it. A thread starts a file only while fewer than `window` files have been started and not
// taken: so no two of them share a slot, and a file that takes long holds back a limited number of
// results behind it, however large the tree.
//
// Finding a file may be slow, since it lists folders. It has a mutex of its own, so that neither
// Take nor a thread with a result waits for it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

#include "support/scoped-handles.h"
#include "tools/larder/scan/scan-report.h"

namespace larder::tool {

// The constructor, Take and the destructor must be called on one thread.
class OrderedWork {
 public:
  using Clock = std::chrono::steady_clock;
  // Sets the path of the next file. If it sets an error too, the result is complete and isn't
  // processed. Returns false at the end. Called on any thread, one call at a time. An exception's
  // text is the error of one more result, the last.
  using Next = std::function<bool(ScanResult&)>;
  // Completes a result that has a path. Called on several threads at the same time. An exception's
  // text becomes the result's error.
  using Process = std::function<void(ScanResult&)>;
  enum class Taken { kResult, kTimedOut, kEnd };

  // Starts the threads, or fewer if the system has no more. Throws std::runtime_error if it has
  // none. window: at least 1.
  OrderedWork(std::size_t threadCount, std::size_t newWindow, Next newNext, Process newProcess);
  // Calls Stop and waits until the files that have been started are processed.
  ~OrderedWork();
  OrderedWork(const OrderedWork&) = delete;
  OrderedWork& operator=(const OrderedWork&) = delete;

  // Waits for the next result, until the deadline if there is one. kEnd: all results have been
  // taken.
  Taken Take(ScanResult& result, std::optional<Clock::time_point> deadline);

  // Starts no further file.
  void Stop();

  // After Stop: the next result that has been stored, past those of files that are still being
  // processed; false if there is none.
  [[nodiscard]] bool TakeStored(ScanResult& result);

 private:
  static void Run(void* work) noexcept;
  void RunThread();
  void StartThreads(std::size_t threadCount);
  // Finds a file and its number; false if there are no more.
  bool StartFile(ScanResult& result, std::uint64_t& number);
  bool WaitForSlot();
  bool FindNext(ScanResult& result, bool& isLast) const;
  void ProcessFile(ScanResult& result) const;
  void Store(ScanResult result, std::uint64_t number);
  bool IsAtEnd() const { return isEnded && taken == started; }

  const std::size_t window;
  const Next next;
  const Process process;

  std::mutex nextMutex;  // guards next; locked before mutex
  std::mutex mutex;      // guards all below but the threads
  std::condition_variable slotFreed;
  std::condition_variable resultStored;
  std::vector<std::optional<ScanResult>> slots;
  std::uint64_t started = 0;  // number of files
  std::uint64_t taken = 0;    // number of results
  std::size_t stored = 0;     // results that aren't taken yet
  std::size_t wanted = 1;     // as many wake the thread in Take
  bool isEnded = false;       // no further file is started

  std::vector<AutoHandle> threads;
};

}  // namespace larder::tool
