// What the library's routines report while the tool runs them.
#pragma once

#include <string>
#include <vector>

#include "log/log-listener-list.h"

namespace larder::tool {

// Keeps the WARN and ERROR lines of this process from construction to destruction, but for those of
// values that couldn't be read: on most machines one or the other isn't there, and that is well.
// One thread.
class LogWatch final : public LRLogListener {
 public:
  LogWatch();
  ~LogWatch();
  LogWatch(const LogWatch&) = delete;
  LogWatch& operator=(const LogWatch&) = delete;

  void Log(const char* line) override;

  // Prints what has been kept on standard error, each body as a line of its own, and forgets it.
  void PrintReports();

 private:
  std::vector<std::string> reports;
};

}  // namespace larder::tool
