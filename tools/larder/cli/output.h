// Standard output, and what the tool prints on standard error. All text is UTF-8.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "log/log-listener-list.h"
#include "platform/code.h"
#include "tools/larder/cli/console.h"

namespace larder::tool {

// Standard output. Remembers the first write that failed. Not thread-safe.
class Output {
 public:
  // Does nothing after a write has failed. On a terminal, Printable is applied to all but line
  // feeds and tabs. text: no part of a character alone, because of that.
  void Write(std::string_view text);

  // Whether a write has failed. Callers with much left to write should stop then.
  [[nodiscard]] bool Failed() const { return error != 0; }

  // Writes out what is still buffered.
  void Flush();

  // Flush for the last time. If this or an earlier write failed, prints the reason on standard
  // error and returns false.
  [[nodiscard]] bool Finish();

 private:
  const bool isTerminal = IsOutputTerminal();
  int error = 0;  // errno of the first failure
};

// Prints "larder: <text>" as one line on standard error, through Printable.
void PrintError(std::string_view text);

// Returns true for kSuccess. Otherwise prints "cannot <what>: <reason>" and returns false.
[[nodiscard]] bool Succeeded(const std::string& what, platform::Code code);

// Collects the WARN and ERROR lines that the library's routines log in this process, from
// construction to destruction. Leaves out failed reads of registry values: on most machines some
// value is missing, which isn't an error. Not thread-safe.
class LogWatch final : public LRLogListener {
 public:
  LogWatch();
  ~LogWatch();
  LogWatch(const LogWatch&) = delete;
  LogWatch& operator=(const LogWatch&) = delete;

  void Log(const char* line) override;

  // Prints the collected lines on standard error, without their time stamps, and forgets them.
  void PrintReports();

 private:
  std::vector<std::string> reports;
};

}  // namespace larder::tool
