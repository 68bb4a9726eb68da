// What the file provider tells the statistics provider of the same process. The agreement is
// private to the two, as that of file-query.h.
#pragma once

#include <cstdint>

namespace larder::feed {

// The counts are this process's, since the provider's object was made; entries and bytes are the
// store's, whoever stored them.
struct FileFigures {
  std::uint64_t since = 0;     // 100 ns since 1601-01-01 UTC; 0 if there is no provider's object
  std::uint64_t entries = 0;   // in the store
  std::uint64_t bytes = 0;     // that the store uses of its file
  std::uint64_t hits = 0;      // queries that were answered from the store
  std::uint64_t misses = 0;    // queries that looked there in vain
  std::uint64_t computed = 0;  // facts that were computed from a file's bytes
  std::uint64_t refused = 0;   // facts and written blocks that weren't stored
};

// The export GetFileFigures of the file provider's module. Any thread; throws nothing.
using GetFileFiguresFunction = void (*)(FileFigures* out);

}  // namespace larder::feed
