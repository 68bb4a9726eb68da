#include "tools/larder/scan/ordered-work.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "platform/thread.h"

namespace larder::tool {

OrderedWork::OrderedWork(std::size_t threadCount, std::size_t newWindow, Next newNext, Ask newAsk)
    : window(newWindow), next(std::move(newNext)), ask(std::move(newAsk)), answers(newWindow) {
  Start(threadCount);
}

OrderedWork::~OrderedWork() {
  Stop();
  for (const AutoHandle& thread : threads) platform::WaitForThread(thread.Get());
}

void OrderedWork::Start(std::size_t threadCount) {
  threads.reserve(threadCount);
  for (std::size_t i = 0; i < threadCount; ++i) {
    AutoHandle thread;
    if (platform::StartThread(&Run, this, thread.Out()) != platform::kSuccess) break;
    threads.push_back(std::move(thread));
  }
  if (threads.empty()) throw std::runtime_error("cannot start a thread");
}

OrderedWork::Taken OrderedWork::Take(ScanResult& answer,
                                     std::optional<Clock::time_point> deadline) {
  std::unique_lock lock(mutex);
  const auto place = [this]() -> auto& { return answers[taken % window]; };
  const auto isReady = [&] { return place().has_value() || IsAtEnd(); };
  if (!deadline) {
    answerCame.wait(lock, isReady);
  } else if (!answerCame.wait_until(lock, *deadline, isReady)) {
    return Taken::kNoneYet;
  }
  if (!place().has_value()) return Taken::kEnd;
  answer = *std::exchange(place(), std::nullopt);
  ++taken;
  roomCame.notify_one();
  return Taken::kAnswer;
}

void OrderedWork::Stop() {
  const std::lock_guard lock(mutex);
  isEnded = true;
  roomCame.notify_all();
  answerCame.notify_all();
}

void OrderedWork::Run(void* work) noexcept { static_cast<OrderedWork*>(work)->Work(); }

void OrderedWork::Work() {
  std::uint64_t number = 0;
  for (ScanResult answer; Begin(answer, number); answer = {}) {
    Complete(answer);
    Store(std::move(answer), number);
  }
}

bool OrderedWork::Begin(ScanResult& answer, std::uint64_t& number) {
  const std::lock_guard walk(walkMutex);
  if (!WaitForRoom()) return false;
  bool isLast = false;
  const bool isFound = FindNext(answer, isLast);
  const std::lock_guard lock(mutex);
  if (isFound) number = begun++;
  if (isLast) {
    isEnded = true;
    answerCame.notify_one();
  }
  return isFound;
}

bool OrderedWork::WaitForRoom() {
  std::unique_lock lock(mutex);
  roomCame.wait(lock, [this] { return isEnded || begun - taken < window; });
  return !isEnded;
}

bool OrderedWork::FindNext(ScanResult& answer, bool& isLast) const {
  try {
    isLast = !next(answer);
    return !isLast;
  } catch (const std::exception& error) {
    answer.error = error.what();
    isLast = true;
    return true;
  }
}

void OrderedWork::Complete(ScanResult& answer) const {
  if (!answer.error.empty()) return;
  try {
    ask(answer);
  } catch (const std::exception& error) {
    answer.error = error.what();
  }
}

void OrderedWork::Store(ScanResult answer, std::uint64_t number) {
  const std::lock_guard lock(mutex);
  answers[number % window] = std::move(answer);
  answerCame.notify_one();
}

}  // namespace larder::tool
