// A listener that records this process's lines during its lifetime.
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

  // With stamp and line end.
  std::vector<std::string> WholeLines() const;
  // Without stamp and line end.
  std::vector<std::string> Lines() const;
  // The calling thread's lines, each ended by a line feed, with the host's image as "<host>" and
  // every handle and pointer except the empty ones as "<handle>".
  std::string Text() const;
  static std::string Neutral(std::string text);  // the same for a text of whole lines
  bool Contains(const std::string& part) const;
  void Clear();
  // Returns as soon as there is a line that contains the part.
  void WaitFor(const std::string& part);

 private:
  struct Entry {
    std::string line;
    std::thread::id thread;
  };

  // The mutex must be locked.
  bool Has(const std::string& part) const;

  mutable std::mutex mutex;
  std::condition_variable lineCame;
  std::vector<Entry> entries;
};

}  // namespace larder
