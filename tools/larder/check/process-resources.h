// What this process holds, for seeing what a module leaves behind. The sources are in linux/ and
// windows/.
#pragma once

#include <cstddef>

namespace larder::tool {

// The running threads.
[[nodiscard]] std::size_t CountThreads();

// Open descriptors; on Windows, handles of the system's objects.
[[nodiscard]] std::size_t CountHandles();

// Bytes that are allocated from the heap of the C and C++ runtime.
[[nodiscard]] std::size_t CountHeapBytes();

// Lets IsFromArrayNew know the blocks that are allocated from now on.
void WatchArrayNew();

// Whether the block was allocated with "new T[]" of the shared C++ runtime, so that delete[] can
// free it. On Windows also true for a block of malloc, which delete[] can free there. Thread-safe.
[[nodiscard]] bool IsFromArrayNew(const void* block);

}  // namespace larder::tool
