#include "log-file/disk-logger.h"

#include <new>
#include <string>
#include <utility>

#include "platform/event.h"
#include "platform/file.h"
#include "platform/log-file.h"
#include "platform/thread.h"

namespace larder {

namespace {

constexpr std::size_t kStopIndex = 0;

// Asking for the file's size takes a fifth of the time that writing a line takes. So the thread
// adds what it writes, and asks again before the first of the lines that it finds in the queue and
// every so many lines, because other programs may append to the file (on Windows they can't).
constexpr unsigned kLinesForOneLook = 16;

WideString DecimalText(std::uint32_t value) {
  const std::string digits = std::to_string(value);
  return WideString(digits.begin(), digits.end());
}

}  // namespace

DiskLogger::DiskLogger(const WideString& logFile, std::uint32_t limit, std::uint32_t backups)
    : fileName(logFile), maxFileSize(limit), maxBackups(backups), thread(nullptr) {
  platform::MakeEvent(stopEvent.Out());
  platform::MakeEvent(wakeEvent.Out());
  if (stopEvent.Get() == nullptr || wakeEvent.Get() == nullptr) return;
  platform::StartThread(WriterThread, this, thread.Out());
}

DiskLogger::~DiskLogger() {
  platform::RaiseEvent(stopEvent.Get());
  platform::WaitForThread(thread.Get());
}

// Takes no lock, so no thread waits for one that is preempted here. Of the memory orders, release
// makes the record visible to the thread that takes the queue, also if other records are pushed on
// top of it: their exchanges continue its release sequence. Acquire puts the raise after the
// lowering that precedes the mark.
void DiskLogger::Log(const char* line) {
  if (thread.Get() == nullptr) return;
  LRLogDiskWriterInfo* const record = MakeRecord(line);
  LRLogDiskWriterInfo* before = queue.load(std::memory_order_relaxed);
  do {
    record->next = before;
  } while (!queue.compare_exchange_weak(before, record, std::memory_order_acq_rel,
                                        std::memory_order_relaxed));
  // From here on the record may be written and deleted.
  if (before == &sleepMark) platform::RaiseEvent(wakeEvent.Get());
}

DiskLogger::LRLogDiskWriterInfo* DiskLogger::MakeRecord(std::string_view line) {
  void* const memory = ::operator new(sizeof(LRLogDiskWriterInfo) + line.size());
  char* const text = static_cast<char*>(memory) + sizeof(LRLogDiskWriterInfo);
  line.copy(text, line.size());
  return new (memory) LRLogDiskWriterInfo{{text, line.size()}, this, nullptr};
}

void DiskLogger::WriterThread(void* logger) {
  static_cast<DiskLogger*>(logger)->WriteUntilStopped();
}

void DiskLogger::WriteUntilStopped() {
  bool isStopped = false;
  for (;;) {
    LRLogDiskWriterInfo* const oldest = TakeAll();
    if (oldest != nullptr) {
      WriteAll(oldest);
    } else if (isStopped) {  // no line was queued before the stop either
      return;
    } else {
      isStopped = SleepUntilStopped();
    }
  }
}

// Returns the queued lines in order; null if there are none.
DiskLogger::LRLogDiskWriterInfo* DiskLogger::TakeAll() noexcept {
  LRLogDiskWriterInfo* newest = queue.exchange(nullptr, std::memory_order_acquire);
  LRLogDiskWriterInfo* oldest = nullptr;
  while (newest != nullptr && newest != &sleepMark) {
    LRLogDiskWriterInfo* const next = newest->next;
    newest->next = oldest;
    oldest = newest;
    newest = next;
  }
  return oldest;
}

// Returns true if the stop event ended the sleep. Returns false at once if there are lines.
bool DiskLogger::SleepUntilStopped() noexcept {
  // Lowered before the mark is set, because the line that finds the mark raises it.
  platform::LowerEvent(wakeEvent.Get());
  LRLogDiskWriterInfo* none = nullptr;
  if (!queue.compare_exchange_strong(none, &sleepMark, std::memory_order_release,
                                     std::memory_order_relaxed)) {
    return false;
  }
  const platform::Handle events[] = {stopEvent.Get(), wakeEvent.Get()};
  std::size_t index = kStopIndex + 1;
  const platform::Code code = platform::WaitForAny(events, std::size(events), index);
  return code == platform::kSuccess && index == kStopIndex;
}

void DiskLogger::WriteAll(LRLogDiskWriterInfo* oldest) {
  for (unsigned i = 0; oldest != nullptr; ++i) {
    if (i % kLinesForOneLook == 0) isSizeKnown = false;
    // Another processor wrote the next line. It is fetched during the system calls for this one.
    __builtin_prefetch(oldest->next);
    try {
      Write(*oldest);
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): this line is dropped
    }
    ::operator delete(std::exchange(oldest, oldest->next));
  }
}

void DiskLogger::Write(const LRLogDiskWriterInfo& info) {
  Rotate();
  if (file.IsEmpty()) {
    {
      AutoHandle opened;
      platform::OpenFileToWrite(fileName, platform::WriteMode::kWrite, opened.Out());
      file = std::move(opened);
    }  // the moved-from handle logs its closing here, after the line in hand
    if (file.IsEmpty()) return;
    FindEnd();
    if (!isSizeKnown) return;
  }
  const auto count = static_cast<std::uint32_t>(info.text.size());
  isSizeKnown = platform::WriteOnce(file.Get(), info.text.data(), count) == platform::kSuccess;
  size += count;
}

// Leaves the file closed if it was full or couldn't be opened, otherwise open and at its end.
void DiskLogger::Rotate() {
  if (file.IsEmpty()) {
    platform::OpenFileToWrite(fileName, platform::WriteMode::kReadWrite, file.Out());
    if (file.IsEmpty()) return;
    isSizeKnown = false;
  }
  if (!isSizeKnown || IsFull()) FindEnd();  // others may have truncated a file that seems full
  if (isSizeKnown && !IsFull()) return;
  file = platform::InvalidHandle();
  platform::RemoveFile(MakeBackupName(maxBackups));
  for (std::uint32_t i = maxBackups; i > 0; --i) {
    platform::RenameFile(MakeBackupName(i - 1), MakeBackupName(i));
  }
}

void DiskLogger::FindEnd() noexcept {
  isSizeKnown = platform::SeekToEnd(file.Get(), size) == platform::kSuccess;
}

WideString DiskLogger::MakeBackupName(std::uint32_t index) const {
  return index == 0 ? fileName : fileName + LARDER_WIDE(".") + DecimalText(index);
}

}  // namespace larder
