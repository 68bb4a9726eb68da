// The listener that writes the log to disk, on a thread of its own.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

#include "log/log-listener-list.h"
#include "support/scoped-handles.h"

namespace larder {

// Log appends the line to an unbounded queue and returns. The logger's thread writes the lines in
// order, one write each. Before it writes to a file that has reached its limit, it rotates: "name"
// becomes "name.1", "name.1" becomes "name.2", and so on.
//
// A line that can't be written is dropped silently, and the next one is tried again. A logger whose
// events or thread couldn't be created accepts no lines. Nothing touches the disk before the first
// line.
//
// Threads: Log may be called from any thread, the logger's own included. Remove the logger from the
// listener list before deleting it; the destructor returns when every queued line has been written.
// A forked child must not delete the logger, whose thread doesn't exist there.
class DiskLogger : public LRLogListener {
 public:
  // logFile: full path. limit: bytes; a file that has reached it is rotated. backups: the number of
  // old generations to keep.
  DiskLogger(const WideString& logFile, std::uint32_t limit, std::uint32_t backups);

  void Log(const char* line) override;

  virtual ~DiskLogger();

 private:
  // One queued line, owned by the queue and then by the thread.
  struct LRLogDiskWriterInfo {
    std::string_view text;  // in the same allocation, behind this struct
    DiskLogger* logger;
    LRLogDiskWriterInfo* next;
  };

  LRLogDiskWriterInfo* MakeRecord(std::string_view line);
  LRLogDiskWriterInfo* TakeAll() noexcept;
  bool SleepUntilStopped() noexcept;
  static void WriterThread(void* logger);
  void WriteUntilStopped();
  void WriteAll(LRLogDiskWriterInfo* oldest);
  void Write(const LRLogDiskWriterInfo& info);
  void Rotate();
  void FindEnd() noexcept;
  bool IsFull() const noexcept { return static_cast<std::uint32_t>(size) >= maxFileSize; }
  WideString MakeBackupName(std::uint32_t index) const;

  // The newest line, linked to the older ones. At the old end is sleepMark, if the thread has found
  // the queue empty and sleeps.
  std::atomic<LRLogDiskWriterInfo*> queue{nullptr};
  LRLogDiskWriterInfo sleepMark{};
  WideString fileName;
  std::uint32_t maxFileSize;
  std::uint32_t maxBackups;
  AutoHandle file;
  std::uint64_t size = 0;    // of the open file
  bool isSizeKnown = false;  // by adding up what was written
  AutoHandle stopEvent;
  AutoHandle wakeEvent;
  AutoHandle thread;
};

}  // namespace larder
