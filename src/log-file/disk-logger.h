// The listener that writes the log to disk, on a thread of its own.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "log/log-listener-list.h"
#include "platform/lock.h"
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
    std::string text;
    DiskLogger* logger;
  };

  static void WriterThread(void* logger);
  void WriteUntilStopped();
  std::shared_ptr<LRLogDiskWriterInfo> TakeFront();
  bool IsQueueEmpty();
  void Write(const LRLogDiskWriterInfo& info);
  void Rotate();
  WideString MakeBackupName(std::uint32_t index) const;

  std::deque<std::shared_ptr<LRLogDiskWriterInfo>> queue;
  WideString fileName;
  std::uint32_t maxFileSize;
  std::uint32_t maxBackups;
  platform::Lock mutex;  // guards queue; declared before the thread, which locks it first
  AutoHandle file;
  AutoHandle stopEvent;
  AutoHandle wakeEvent;
  AutoHandle thread;
};

}  // namespace larder
