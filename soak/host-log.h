// The lines that a life must have left in the logs.
#pragma once

#include <filesystem>

#include "soak/host-state.h"

namespace larder::soak {

enum class Expect {
  kAllSafe,         // every number up to `safe`, and whole lines
  kKilled,          // the same, but the line that was being written may be cut
  kAllGenerations,  // as kAllSafe, but if the log has all its generations, the oldest may be gone
  kNewest,          // the oldest may be gone in any case
  kAnything,        // the folder couldn't be used at times
};

// Reads the logs in the folder, compares them with the life's numbers and adds to the totals.
// Throws Fault for a number that is missing, occurs twice or was never begun, and for a line that
// isn't whole. All of the life's calls must have ended.
void CheckLog(const std::filesystem::path& logs, const Life& life, Expect expect, HostState& state);

}  // namespace larder::soak
