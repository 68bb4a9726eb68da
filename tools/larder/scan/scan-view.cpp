#include "tools/larder/scan/scan-view.h"

#include "tools/larder/cli/console.h"

namespace larder::tool {

ScanView::ScanView(const std::vector<std::string>& roots, const WalkRules& rules, Output& newOutput)
    : output(newOutput) {
  std::size_t columns = 0;
  if (!IsErrorTerminal(columns)) return;
  bar.emplace(columns);
  count.emplace(roots, rules);
}

std::optional<ScanView::Clock::time_point> ScanView::DueTime() const {
  return bar ? std::optional(bar->DueTime()) : std::nullopt;
}

void ScanView::Print(const std::string& text) {
  if (bar) {
    buffered += text;
  } else {
    output.Write(text);
  }
}

void ScanView::Refresh(const ScanCounts& counts) {
  if (!bar || Clock::now() < bar->DueTime()) return;
  Flush();
  bar->Draw(counts, count->Total());
}

void ScanView::Close() {
  Flush();
  if (bar) bar->Erase();
}

void ScanView::Flush() {
  if (buffered.empty()) return;
  bar->Erase();
  output.Write(buffered);
  output.Flush();
  buffered.clear();
}

}  // namespace larder::tool
