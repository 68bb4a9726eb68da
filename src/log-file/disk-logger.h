// The listener that writes the log to disk, on a thread of its own.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "log/log-listener-list.h"
#include "support/scoped-handles.h"

namespace larder {

// Takes finished lines into a queue without bound and returns; its thread writes them in the order
// they came, one write each, and rotates the file ahead of a line when it has reached its limit:
// "name" becomes "name.1", that "name.2", and so on. It knows nothing of the lines' form.
//
// A line that can't be written is lost without a word, and the next one tries again; a logger
// without its events or its thread takes no lines. Nothing touches the disk before the first line.
//
// Threads: Log on any number at once, the logger's own included. Take the logger out of the
// listener list before deleting it; the destructor then returns when everything queued has been
// written. After a fork the child has no such thread: it must not delete the logger.
class DiskLogger : public LRLogListener {
 public:
  // logFile: full path. limit: bytes; a file that has reached it is rotated. backups: how many old
  // generations are kept.
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
  std::recursive_mutex mutex;  // guards queue; ready before the thread that takes it first
  AutoHandle file;
  AutoHandle stopEvent;
  AutoHandle wakeEvent;
  AutoHandle thread;
};

}  // namespace larder
