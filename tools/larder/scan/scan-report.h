// What came of a scan, in numbers, and what went wrong in it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/larder/scan/ordered-work.h"

namespace larder::tool {

struct ScanCounts {
  std::uint64_t files = 0;   // those with facts
  std::uint64_t bytes = 0;   // of these
  std::uint64_t images = 0;  // of these, the ones with signers
  std::uint64_t errors = 0;  // files and folders
};

// Keeps the first paths of each reason only, and the first reasons, however many there are.
class ScanReport {
 public:
  void Add(const ScanResult& result);

  [[nodiscard]] const ScanCounts& Counts() const { return counts; }

  // On standard error: for each reason, in the order of their first paths, the paths and the count.
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
