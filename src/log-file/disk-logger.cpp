#include "log-file/disk-logger.h"

#include <mutex>
#include <utility>

#include "platform/event.h"
#include "platform/file.h"
#include "platform/log-file.h"
#include "platform/thread.h"

namespace larder {

namespace {

constexpr std::size_t kStopIndex = 0;

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

void DiskLogger::Log(const char* line) {
  if (thread.Get() == nullptr) return;
  auto info = std::make_shared<LRLogDiskWriterInfo>(LRLogDiskWriterInfo{line, this});
  const std::lock_guard lock(mutex);
  queue.push_back(std::move(info));
  platform::RaiseEvent(wakeEvent.Get());
}

void DiskLogger::WriterThread(void* logger) {
  static_cast<DiskLogger*>(logger)->WriteUntilStopped();
}

void DiskLogger::WriteUntilStopped() {
  const platform::Handle events[] = {stopEvent.Get(), wakeEvent.Get()};
  for (;;) {
    // Lowered before the queue is checked: a line that is queued after the check raises it again.
    platform::LowerEvent(wakeEvent.Get());
    if (!IsQueueEmpty()) {
      Write(*TakeFront());
      continue;
    }
    std::size_t index = kStopIndex + 1;
    const platform::Code code = platform::WaitForAny(events, std::size(events), index);
    // Checked again: lines may have been queued, and then the stop event raised, since the check.
    if (code == platform::kSuccess && index == kStopIndex && IsQueueEmpty()) return;
  }
}

bool DiskLogger::IsQueueEmpty() {
  const std::lock_guard lock(mutex);
  return queue.empty();
}

std::shared_ptr<DiskLogger::LRLogDiskWriterInfo> DiskLogger::TakeFront() {
  const std::lock_guard lock(mutex);
  std::shared_ptr<LRLogDiskWriterInfo> front = std::move(queue.front());
  queue.pop_front();
  return front;
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
    std::uint64_t size = 0;
    if (platform::SeekToEnd(file.Get(), size) != platform::kSuccess) return;
  }
  platform::WriteOnce(file.Get(), info.text.data(), static_cast<std::uint32_t>(info.text.size()));
}

// Leaves the file closed if it was full or couldn't be opened, otherwise open and at its end.
void DiskLogger::Rotate() {
  if (file.IsEmpty()) {
    platform::OpenFileToWrite(fileName, platform::WriteMode::kReadWrite, file.Out());
    if (file.IsEmpty()) return;
  }
  std::uint64_t size = 0;
  const bool isKnown = platform::SeekToEnd(file.Get(), size) == platform::kSuccess;
  if (isKnown && static_cast<std::uint32_t>(size) < maxFileSize) return;
  file = platform::InvalidHandle();
  platform::RemoveFile(MakeBackupName(maxBackups));
  for (std::uint32_t i = maxBackups; i > 0; --i) {
    platform::RenameFile(MakeBackupName(i - 1), MakeBackupName(i));
  }
}

WideString DiskLogger::MakeBackupName(std::uint32_t index) const {
  return index == 0 ? fileName : fileName + LARDER_WIDE(".") + DecimalText(index);
}

}  // namespace larder
