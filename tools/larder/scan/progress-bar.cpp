#include "tools/larder/scan/progress-bar.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "tools/larder/cli/console.h"
#include "tools/larder/cli/text.h"

namespace larder::tool {
namespace {

constexpr std::size_t kDefaultColumns = 80;
constexpr std::size_t kBarLength = 10;
constexpr std::chrono::milliseconds kPause(100);

// The fixed cost of a file, in bytes that take as long to read.
constexpr std::uint64_t kBytesPerFile = 65536;

double Work(std::uint64_t files, std::uint64_t bytes) {
  return static_cast<double>(files) * kBytesPerFile + static_cast<double>(bytes);
}

// 0 to 1. At most 1 even if the tree has grown since it was counted.
double ShareDone(const ScanCounts& counts, const Amount& total) {
  const double whole = Work(total.files, total.bytes);
  if (whole <= 0) return 1;
  return std::min(Work(counts.files + counts.errors, counts.bytes) / whole, 1.0);
}

std::string Bar(double share) {
  const auto full = static_cast<std::size_t>(share * kBarLength);
  return "[" + std::string(full, '#') + std::string(kBarLength - full, '-') + "] " +
         std::to_string(static_cast<int>(share * 100)) + "%  ";
}

std::string TimeLeft(double share, double seconds) {
  constexpr double kMinShare = 0.0001;
  if (share < kMinShare) return {};
  const auto left = std::llround(seconds * (1 - share) / share);
  std::array<char, 40> text;
  const int length = left < 3600
                         ? std::snprintf(text.data(), text.size(), "%d:%02d left  ",
                                         static_cast<int>(left / 60), static_cast<int>(left % 60))
                         : std::snprintf(text.data(), text.size(), "%.1f h left  ",
                                         static_cast<double>(left) / 3600);
  return {text.data(), static_cast<std::size_t>(length)};
}

void Write(const std::string& text) { (void)WriteText(Stream::kErrors, text); }

}  // namespace

std::string ProgressLine(const ScanCounts& counts, const std::optional<Amount>& total,
                         double seconds, std::size_t columns) {
  const std::string done = std::to_string(counts.files + counts.errors);
  std::string line;
  if (total) {
    const double share = ShareDone(counts, *total);
    line = Bar(share) + TimeLeft(share, seconds) + done + "/" + std::to_string(total->files);
  } else {
    line = done;
  }
  line += " files  " + SizeText(counts.bytes) + "  " + RateText(counts, seconds);
  if (line.size() > columns) line.resize(columns);
  return line;
}

// Leaves the last column free, because some terminals wrap when it is written.
ProgressBar::ProgressBar(std::size_t newColumns)
    : columns((newColumns == 0 ? kDefaultColumns : newColumns) - 1) {}

void ProgressBar::Draw(const ScanCounts& counts, const std::optional<Amount>& total) {
  const Clock::time_point now = Clock::now();
  const double seconds = std::chrono::duration<double>(now - start).count();
  std::string line = ProgressLine(counts, total, seconds, columns);
  const std::size_t length = line.size();
  line.resize(std::max(length, drawn), ' ');
  Write("\r" + line);
  drawn = length;
  due = now + kPause;
}

void ProgressBar::Erase() {
  if (drawn == 0) return;
  Write("\r" + std::string(drawn, ' ') + "\r");
  drawn = 0;
}

}  // namespace larder::tool
