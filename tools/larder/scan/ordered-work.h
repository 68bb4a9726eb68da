// Files asked about on several threads at the same time, with the answers in the files' order.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "support/scoped-handles.h"

namespace larder::tool {

struct ScanResult {
  std::string path;
  std::string error;       // empty when all went well
  std::string text;        // what is to be printed
  std::uint64_t size = 0;  // bytes of the file
  bool hasFacts = false;
  bool hasSigners = false;
};

// A file that takes long holds its followers' answers back, at most the window's size of them: no
// other file is begun then. Made, asked for answers and destroyed on one thread.
class OrderedWork {
 public:
  using Clock = std::chrono::steady_clock;
  // Fills in the path of the next file, or an answer that is complete: one with an error. False at
  // the end. One call at a time, each on any of the threads.
  using Next = std::function<bool(ScanResult&)>;
  // Completes an answer; several calls at the same time. What an exception out of either tells is
  // the answer's error, and one out of next ends the files.
  using Ask = std::function<void(ScanResult&)>;
  enum class Taken { kAnswer, kNoneYet, kEnd };

  // Starts the threads; fewer than that if the system has no more. Throws std::runtime_error if it
  // has none. window: at least 1.
  OrderedWork(std::size_t threadCount, std::size_t newWindow, Next newNext, Ask newAsk);
  ~OrderedWork();  // Stop, and waits for the files that are under way
  OrderedWork(const OrderedWork&) = delete;
  OrderedWork& operator=(const OrderedWork&) = delete;

  // Waits for the next answer, until the deadline if there is one. kEnd when all have been taken.
  Taken Take(ScanResult& answer, std::optional<Clock::time_point> deadline);

  // No further file is begun.
  void Stop();

 private:
  static void Run(void* work) noexcept;
  void Work();
  void Start(std::size_t threadCount);
  // Takes a file and its number; false when there is none to take.
  bool Begin(ScanResult& answer, std::uint64_t& number);
  bool WaitForRoom();
  bool FindNext(ScanResult& answer, bool& isLast) const;
  void Complete(ScanResult& answer) const;
  void Store(ScanResult answer, std::uint64_t number);
  bool IsAtEnd() const { return isEnded && taken == begun; }

  const std::size_t window;
  const Next next;
  const Ask ask;

  std::mutex walkMutex;  // around next, so that a slow one keeps no answer waiting; taken first
  std::mutex mutex;      // around all below
  std::condition_variable roomCame;
  std::condition_variable answerCame;
  std::vector<std::optional<ScanResult>> answers;  // the one of file N at N modulo the window
  std::uint64_t begun = 0;
  std::uint64_t taken = 0;
  bool isEnded = false;

  std::vector<AutoHandle> threads;
};

}  // namespace larder::tool
