#include "tools/larder/scan/ordered-work.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

#include "platform/thread.h"

namespace larder::tool {
namespace {

// How many results are gathered, and for how long, before the thread that takes them is woken:
// waking it for each would cost more than a result from the store does.
constexpr std::size_t kGathered = 64;
constexpr std::chrono::milliseconds kGathering(1);

}  // namespace

OrderedWork::OrderedWork(std::size_t threadCount, std::size_t newWindow, Next newNext,
                         Process newProcess)
    : window(newWindow),
      next(std::move(newNext)),
      process(std::move(newProcess)),
      slots(newWindow) {
  StartThreads(threadCount);
}

OrderedWork::~OrderedWork() {
  Stop();
  for (const AutoHandle& thread : threads) platform::WaitForThread(thread.Get());
}

void OrderedWork::StartThreads(std::size_t threadCount) {
  threads.reserve(threadCount);
  for (std::size_t i = 0; i < threadCount; ++i) {
    AutoHandle thread;
    if (platform::StartThread(&Run, this, thread.Out()) != platform::kSuccess) break;
    threads.push_back(std::move(thread));
  }
  if (threads.empty()) throw std::runtime_error("cannot start a thread");
}

OrderedWork::Taken OrderedWork::Take(ScanResult& result,
                                     std::optional<Clock::time_point> deadline) {
  std::unique_lock lock(mutex);
  std::optional<ScanResult>& slot = slots[taken % window];
  const auto isReady = [&] { return slot.has_value() || IsAtEnd(); };
  if (!isReady()) {
    wanted = std::min(kGathered, window);
    resultStored.wait_for(lock, kGathering, [&] { return IsAtEnd() || stored >= wanted; });
    wanted = 1;
  }
  if (!deadline) {
    resultStored.wait(lock, isReady);
  } else if (!resultStored.wait_until(lock, *deadline, isReady)) {
    return Taken::kTimedOut;
  }
  if (!slot.has_value()) return Taken::kEnd;
  result = *std::exchange(slot, std::nullopt);
  ++taken;
  --stored;
  slotFreed.notify_one();
  return Taken::kResult;
}

void OrderedWork::Stop() {
  const std::lock_guard lock(mutex);
  isEnded = true;
  slotFreed.notify_all();
  resultStored.notify_all();
}

bool OrderedWork::TakeStored(ScanResult& result) {
  const std::lock_guard lock(mutex);
  for (std::uint64_t number = taken; number < started; ++number) {
    std::optional<ScanResult>& slot = slots[number % window];
    if (!slot.has_value()) continue;
    result = *std::exchange(slot, std::nullopt);
    --stored;
    return true;
  }
  return false;
}

void OrderedWork::Run(void* work) noexcept { static_cast<OrderedWork*>(work)->RunThread(); }

void OrderedWork::RunThread() {
  std::uint64_t number = 0;
  for (ScanResult result; StartFile(result, number); result = {}) {
    ProcessFile(result);
    Store(std::move(result), number);
  }
}

bool OrderedWork::StartFile(ScanResult& result, std::uint64_t& number) {
  const std::lock_guard nextLock(nextMutex);
  if (!WaitForSlot()) return false;
  bool isLast = false;
  const bool isFound = FindNext(result, isLast);
  const std::lock_guard lock(mutex);
  if (isFound) number = started++;
  if (isLast) {
    isEnded = true;
    resultStored.notify_one();
  }
  return isFound;
}

bool OrderedWork::WaitForSlot() {
  std::unique_lock lock(mutex);
  slotFreed.wait(lock, [this] { return isEnded || started - taken < window; });
  return !isEnded;
}

bool OrderedWork::FindNext(ScanResult& result, bool& isLast) const {
  try {
    isLast = !next(result);
    return !isLast;
  } catch (const std::exception& error) {
    result.error = error.what();
    isLast = true;
    return true;
  }
}

void OrderedWork::ProcessFile(ScanResult& result) const {
  if (!result.error.empty()) return;
  try {
    process(result);
  } catch (const std::exception& error) {
    result.error = error.what();
  }
}

void OrderedWork::Store(ScanResult result, std::uint64_t number) {
  const std::lock_guard lock(mutex);
  slots[number % window] = std::move(result);
  ++stored;
  if (stored >= wanted && slots[taken % window].has_value()) resultStored.notify_one();
}

}  // namespace larder::tool
