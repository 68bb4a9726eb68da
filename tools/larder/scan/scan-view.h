// What a scan prints while it runs.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tools/larder/cli/output.h"
#include "tools/larder/scan/progress-bar.h"
#include "tools/larder/scan/scan-report.h"
#include "tools/larder/scan/tree-walk.h"

namespace larder::tool {

// Prints lines on standard output and, if standard error is a terminal, a progress bar there. With
// a bar, lines are buffered until the bar is due, so that it isn't erased for each of them. Not
// thread-safe.
class ScanView {
 public:
  using Clock = ProgressBar::Clock;

  // roots and rules: of the walk that is shown; with a bar, its files are counted in advance.
  ScanView(const std::vector<std::string>& roots, const WalkRules& rules, Output& newOutput);

  // When Refresh must be called; nothing without a bar.
  [[nodiscard]] std::optional<Clock::time_point> DueTime() const;

  void Print(const std::string& text);
  // If the bar is due, prints the buffered lines and draws it.
  void Refresh(const ScanCounts& counts);
  // Prints the buffered lines and erases the bar.
  void Close();

 private:
  void Flush();

  Output& output;
  std::string buffered;
  std::optional<ProgressBar> bar;
  std::optional<TreeCount> count;
};

}  // namespace larder::tool
