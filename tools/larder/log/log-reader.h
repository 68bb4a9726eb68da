// The lines of one run, from its oldest generation to its newest, while the host may be writing and
// rotating.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file.h"
#include "platform/wide.h"
#include "support/scoped-handles.h"
#include "tools/larder/cli/output.h"

namespace larder::tool {

// Log lines on their way out: CR LF becomes LF, the other bytes stay. The beginning of a line waits
// for its rest.
class LinePrinter {
 public:
  explicit LinePrinter(Output& target) : output(target) {}

  void Add(std::string_view bytes);
  // What waits won't be continued: it becomes a line.
  void EndFile();

 private:
  Output& output;
  std::string pending;
};

// A file is held open while it is read, so it stays the same though it is renamed, and no other
// file can take its identity. Files are opened in the way that leaves the host free to write,
// rename and delete.
class LogReader {
 public:
  // run: path of the run's current file.
  LogReader(const WideString& run, Output& target) : path(run), output(target), lines(target) {}

  // Prints what there is. False, with the reason told, when there is nothing to read.
  [[nodiscard]] bool PrintAll();
  // Prints what has come since; tells whether that was anything. After PrintAll has succeeded.
  bool PrintNews();
  // No more will be read. False when something was unreadable or lost; it has been told by then.
  [[nodiscard]] bool Finish();

 private:
  struct Generation {
    std::uint32_t number = 0;
    AutoHandle file;
    platform::FileInfo info;
    std::uint64_t position = 0;  // bytes that have been printed
  };
  using Generations = std::vector<Generation>;

  void Report(const std::string& fault);
  bool Open(std::uint32_t number, Generation& generation);
  Generations OpenEach();
  Generations OpenAll();
  bool Print(Generation& generation);
  bool PrintInOrder(Generations& newestFirst);
  Generations TakeNewer(Generations generations);
  bool PrintNewer();

  WideString path;
  Output& output;
  LinePrinter lines;
  Generation current;            // the newest that has been opened
  std::set<std::string> faults;  // told already
};

}  // namespace larder::tool
