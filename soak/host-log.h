// The lines that a life must have left in the logs.
#pragma once

#include <filesystem>

#include "soak/host-state.h"

namespace larder::soak {

enum class Expect {
  kAllSafe,   // every number up to `safe`, and whole lines
  kNewest,    // the same, but the oldest numbers may have been rotated away
  kAnything,  // the folder couldn't be used at times
};

// Reads the logs in the folder, compares them with the life's numbers and adds to the totals.
// Throws Fault for a number that is missing, occurs twice or was never begun, and for a line that
// isn't whole. All of the life's calls must have ended.
void CheckLog(const std::filesystem::path& logs, const Life& life, Expect expect, HostState& state);

}  // namespace larder::soak
