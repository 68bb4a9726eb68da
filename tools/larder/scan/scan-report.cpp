#include "tools/larder/scan/scan-report.h"

#include <algorithm>

#include "tools/larder/cli/output.h"
#include "tools/larder/cli/text.h"

namespace larder::tool {
namespace {

constexpr std::size_t kMaxPaths = 20;
constexpr std::size_t kMaxReasons = 100;
constexpr const char* kOtherReasons = "other reasons";

std::uint64_t PerSecond(std::uint64_t amount, double seconds) {
  constexpr double kMinSeconds = 0.001;  // no division by zero at the start
  return static_cast<std::uint64_t>(static_cast<double>(amount) / std::max(seconds, kMinSeconds));
}

}  // namespace

void ScanReport::Add(const ScanResult& result) {
  if (result.hasFacts) {
    ++counts.files;
    counts.bytes += result.size;
    if (result.hasSigners) ++counts.images;
  }
  if (result.error.empty()) return;
  ++counts.errors;
  if (result.isBadPath) ++counts.badPaths;
  Reason& reason = ReasonOf(result.error);
  ++reason.count;
  if (reason.paths.size() < kMaxPaths) reason.paths.push_back(result.path);
}

ScanReport::Reason& ScanReport::ReasonOf(const std::string& error) {
  const auto find = [this](const std::string& text) {
    return std::find_if(reasons.begin(), reasons.end(),
                        [&](const Reason& reason) { return reason.text == text; });
  };
  auto found = find(error);
  const bool isFull = found == reasons.end() && reasons.size() >= kMaxReasons;
  if (isFull) found = find(kOtherReasons);
  if (found != reasons.end()) return *found;
  return reasons.emplace_back(Reason{isFull ? kOtherReasons : error, 0, {}});
}

void ScanReport::PrintErrors() const {
  for (const Reason& reason : reasons) PrintReason(reason);
}

void ScanReport::PrintReason(const Reason& reason) {
  for (const std::string& path : reason.paths) PrintError(path + ": " + reason.text);
  std::string count = std::to_string(reason.count) + (reason.count == 1 ? " error: " : " errors: ");
  if (reason.count > reason.paths.size()) {
    count = std::to_string(reason.count) + " errors, " + std::to_string(reason.paths.size()) +
            " of them listed: ";
  }
  PrintError(count + reason.text);
}

std::string RateText(const ScanCounts& counts, double seconds) {
  return std::to_string(PerSecond(counts.files, seconds)) + " files/s, " +
         SizeText(PerSecond(counts.bytes, seconds)) + "/s";
}

}  // namespace larder::tool
