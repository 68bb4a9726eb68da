// The command line of "larder scan".
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/larder/cli/command.h"
#include "tools/larder/query/file-query.h"
#include "tools/larder/scan/tree-walk.h"

namespace larder::tool {

enum class ScanForm { kDigests, kJson, kSummary };

struct Scan {
  std::vector<std::string> roots;
  FileQuestion question;
  WalkRules rules;
  std::size_t threads = 1;
  ScanForm form = ScanForm::kDigests;
  bool endsInNul = false;  // each record, instead of in a line feed
};

// What the user gave.
struct ScanArguments {
  std::vector<std::string> roots;
  std::string option = "0";
  std::optional<std::string> threads;
  std::vector<std::string> excluded;
  std::optional<std::string> maxSize;
  bool oneFileSystem = false;
  bool recall = false;
  bool json = false;
  bool summary = false;
  bool nul = false;
};

void DeclareScan(const Command& scan, const std::shared_ptr<ScanArguments>& arguments);

// Throws UsageError.
Scan CheckedScan(const ScanArguments& arguments);

}  // namespace larder::tool
