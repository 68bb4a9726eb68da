// The results of a scan: of each file, in numbers, and the errors.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/wide.h"

namespace larder::tool {

// Of one file, or of an entry that can't be queried or read.
struct ScanResult {
  std::string path;
  std::string error;       // empty on success
  std::string text;        // to be printed
  std::uint64_t size = 0;  // of the file in bytes
  bool hasFacts = false;
  bool hasSigners = false;
  bool isBadPath = false;    // the library's paths can't express this one
  WideString fullPath = {};  // as the library takes it
};

struct ScanCounts {
  std::uint64_t files = 0;     // files with facts
  std::uint64_t bytes = 0;     // the size of these files
  std::uint64_t images = 0;    // those of these files that have signers
  std::uint64_t errors = 0;    // files and folders that failed
  std::uint64_t badPaths = 0;  // those of them whose paths the library can't express
};

// Counts results and collects errors by their reasons. Keeps a limited number of reasons, and of
// paths for each, so that memory doesn't grow with the errors. Not thread-safe.
class ScanReport {
 public:
  void Add(const ScanResult& result);

  [[nodiscard]] const ScanCounts& Counts() const { return counts; }

  // Prints the paths and the count of each reason on standard error, the reasons in the order in
  // which they first occurred.
  void PrintErrors() const;

 private:
  struct Reason {
    std::string text;
    std::uint64_t count = 0;
    std::vector<std::string> paths;
  };

  Reason& ReasonOf(const std::string& error);
  static void PrintReason(const Reason& reason);

  ScanCounts counts;
  std::vector<Reason> reasons;
};

// "384 files/s, 123.4 MB/s".
std::string RateText(const ScanCounts& counts, double seconds);

}  // namespace larder::tool
