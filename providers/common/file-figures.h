// The counters that the file provider reports to the statistics provider of the same process. The
// interface is private to the two, and both must come from one build.
#pragma once

#include <cstdint>

namespace larder::feed {

// Entries and bytes are the store's, whichever process stored them. The other counts are this
// process's, since the provider's object was created.
struct FileFigures {
  std::uint64_t since = 0;     // 100 ns since 1601-01-01 UTC; 0 without a provider's object
  std::uint64_t entries = 0;   // in the store
  std::uint64_t bytes = 0;     // in use within the store's file
  std::uint64_t hits = 0;      // queries answered from the store
  std::uint64_t misses = 0;    // queries whose file wasn't in the store
  std::uint64_t computed = 0;  // records computed from a file's bytes
  std::uint64_t refused = 0;   // computed records and written blocks that weren't stored
};

// The export GetFileFigures of the file provider's module. May be called from any thread; throws
// nothing.
using GetFileFiguresFunction = void (*)(FileFigures* out);

}  // namespace larder::feed
