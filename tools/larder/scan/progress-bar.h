// How far a scan has come, on one line of a terminal that is drawn over and over.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "tools/larder/scan/scan-report.h"
#include "tools/larder/scan/tree-walk.h"

namespace larder::tool {

// One line of at most so many columns, all ASCII and no control character. Until the total is known
// it has no bar and no time left.
std::string ProgressLine(const ScanCounts& counts, const std::optional<Amount>& total,
                         double seconds, std::size_t columns);

// On standard error. One thread.
class ProgressBar {
 public:
  using Clock = std::chrono::steady_clock;

  // columns: the terminal's; 0 if it doesn't tell.
  explicit ProgressBar(std::size_t newColumns);
  ~ProgressBar() { Erase(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  // When it may be drawn again.
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
