// The progress of a scan, on one line of a terminal that is redrawn.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "tools/larder/scan/scan-report.h"
#include "tools/larder/scan/tree-walk.h"

namespace larder::tool {

// The line, cut at the number of columns; ASCII without control characters. Until the total is
// known it has neither bar nor time left.
std::string ProgressLine(const ScanCounts& counts, const std::optional<Amount>& total,
                         double seconds, std::size_t columns);

// Draws on standard error. Not thread-safe.
class ProgressBar {
 public:
  using Clock = std::chrono::steady_clock;

  // columns: the terminal's width; 0 if unknown.
  explicit ProgressBar(std::size_t newColumns);
  ~ProgressBar() { Erase(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  // The earliest time of the next Draw.
  [[nodiscard]] Clock::time_point DueTime() const { return due; }

  void Draw(const ScanCounts& counts, const std::optional<Amount>& total);
  void Erase();

 private:
  const std::size_t columns;
  const Clock::time_point start = Clock::now();
  Clock::time_point due = start;
  std::size_t drawn = 0;  // columns
};

}  // namespace larder::tool
