// Prints the lines of one run, from its oldest generation to its newest, while the host may be
// writing and rotating.
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

// Prints log lines: CR LF becomes LF, the other bytes are unchanged. An incomplete line is kept
// until the rest of it is added.
class LinePrinter {
 public:
  explicit LinePrinter(Output& target) : output(target) {}

  void Add(std::string_view bytes);
  // Prints an incomplete line, which won't be continued, as a line.
  void EndFile();

 private:
  Output& output;
  std::string pending;
};

// Holds a file open while it reads it, so that it reads the same file after the host has renamed
// it, and no other file can get the same identity. Files are opened in the way that lets the host
// write, rename and delete them.
class LogReader {
 public:
  // run: path of the run's current file.
  LogReader(const WideString& run, Output& target) : path(run), output(target), lines(target) {}

  // Prints all lines. If there is no such log, prints the reason and returns false.
  [[nodiscard]] bool PrintAll();
  // Prints the lines that have been added since, and returns whether there were any. PrintAll must
  // have succeeded.
  bool PrintNews();
  // Ends the reading. Returns false if something was unreadable or lost, which has been printed.
  [[nodiscard]] bool Finish();

 private:
  struct Generation {
    std::uint32_t number = 0;
    AutoHandle file;
    platform::FileInfo info;
    std::uint64_t position = 0;  // number of bytes printed
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
  std::set<std::string> faults;  // those that have been printed
};

}  // namespace larder::tool
