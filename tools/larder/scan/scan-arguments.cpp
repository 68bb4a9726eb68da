#include "tools/larder/scan/scan-arguments.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "tools/larder/cli/text.h"

namespace larder::tool {
namespace {

constexpr std::size_t kMaxThreads = 256;

// By default, the number of cores.
std::size_t CheckedThreads(const std::optional<std::string>& text) {
  if (text) return NumberArgument("--threads", *text, 1, kMaxThreads);
  return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, kMaxThreads);
}

// "4096", "64K", "10M", "2G".
std::uint64_t CheckedSize(const std::string& text) {
  constexpr std::string_view kUnits = "KMG";
  const std::size_t unit = text.empty() ? std::string::npos : kUnits.find(text.back());
  const bool hasUnit = unit != std::string::npos;
  const unsigned shift = hasUnit ? 10 * (static_cast<unsigned>(unit) + 1) : 0;
  const std::uint64_t limit = std::numeric_limits<std::uint64_t>::max() >> shift;
  const auto number = ParseUnsigned(text.substr(0, text.size() - (hasUnit ? 1 : 0)), limit);
  if (!number) {
    throw NotANumber("--max-size",
                     "of bytes below 2^64, or of K, M or G (1024, 1024^2 and 1024^3 bytes)", text);
  }
  return *number << shift;
}

std::vector<PathPattern> CheckedPatterns(const std::vector<std::string>& globs) {
  std::vector<PathPattern> patterns;
  for (const std::string& glob : globs) {
    try {
      patterns.emplace_back(glob);
    } catch (const std::invalid_argument& error) {
      throw UsageError("--exclude", std::string(error.what()) + ": " + glob);
    }
  }
  return patterns;
}

WalkRules CheckedRules(const ScanArguments& arguments) {
  WalkRules rules;
  rules.excluded = CheckedPatterns(arguments.excluded);
  if (arguments.maxSize) rules.maxSize = CheckedSize(*arguments.maxSize);
  rules.isOneFileSystem = arguments.oneFileSystem;
  rules.includesRemote = arguments.recall;
  return rules;
}

}  // namespace

void DeclareScan(const Command& scan, const std::shared_ptr<ScanArguments>& arguments) {
  scan.AddDetails(
      "Prints the SHA-256 of each regular file in the format of sha256sum, sorted by\n"
      "name. Links aren't followed. Failures are listed at the end, on standard\n"
      "error.\n"
      "\n"
      "In GLOB, * stands for any characters, ? for one, and [...] for one of a set;\n"
      "none of them for a separator. A GLOB without a separator is compared with\n"
      "names at any depth, another one with the whole path below DIR.");
  scan.AddRequired("DIR", arguments->roots, "Folders, or files, to begin with");
  scan.AddOption("--exclude", "GLOB", arguments->excluded,
                 "Pass over files and folders with this name, or path if GLOB has a separator");
  scan.AddFlag("--one-file-system", arguments->oneFileSystem,
               "Pass over folders on another file system than DIR");
  scan.AddOption("--max-size", "SIZE", arguments->maxSize,
                 "Pass over files with more bytes; K, M and G are powers of 1024");
  scan.AddFlag("--recall", arguments->recall,
               "Take files, too, whose content has to be fetched from a cloud");
  scan.AddOption("--option", "N", arguments->option, "Query option for the provider (default 0)");
  scan.AddOption("--threads", "N", arguments->threads,
                 "Files to query at the same time (default: the number of cores)");
  scan.AddFlag("-0", arguments->nul, "End lines in NUL instead of a line feed; escape no names");
  scan.AddFlag("--json", arguments->json, "Print a line of JSON for each file");
  scan.AddFlag("--summary", arguments->summary, "Print nothing but the counts at the end");
  scan.Exclude("--summary", "--json");
  scan.Exclude("--summary", "-0");
}

Scan CheckedScan(const ScanArguments& arguments) {
  const std::uint64_t option =
      NumberArgument("--option", arguments.option, 0, std::numeric_limits<std::uint32_t>::max());
  Scan scan;
  scan.roots = arguments.roots;
  scan.question = {LARDER_FEED_FILE_TYPE, static_cast<std::uint32_t>(option), true};
  scan.rules = CheckedRules(arguments);
  scan.threads = CheckedThreads(arguments.threads);
  if (arguments.json) scan.form = ScanForm::kJson;
  if (arguments.summary) scan.form = ScanForm::kSummary;
  scan.endsInNul = arguments.nul;
  return scan;
}

}  // namespace larder::tool
