// A listener that keeps the lines of this process while it lives.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "log/log-listener-list.h"

namespace larder {

class RecordedLog : public LRLogListener {
 public:
  RecordedLog();
  ~RecordedLog();

  void Log(const char* line) override;

  // The lines as they came, with stamp and line end.
  std::vector<std::string> WholeLines() const;
  // The lines without stamp and line end.
  std::vector<std::string> Lines() const;
  // Those that this thread has written, in one text, one line each, with every handle and pointer
  // value but the empty ones as "<handle>" and the host's image as "<host>".
  std::string Text() const;
  bool Contains(const std::string& part) const;
  void Clear();
  // Returns when a line that contains the part has come, or was there already.
  void WaitFor(const std::string& part);

 private:
  struct Entry {
    std::string line;
    std::thread::id thread;
  };

  mutable std::mutex mutex;
  std::condition_variable lineCame;
  std::vector<Entry> entries;
};

}  // namespace larder
