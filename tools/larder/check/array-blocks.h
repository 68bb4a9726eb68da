// Which blocks "delete[]" can free. The sources are in linux/ and windows/; a program with the one
// of Linux has a "new[]" of its own.
#pragma once

namespace larder::tool {

// Lets IsFromArrayNew know the blocks that are allocated from now on.
void WatchArrayNew();

// Whether the block was allocated with "new T[]" of the shared C++ runtime, so that delete[] can
// free it. On Windows also true for a block of malloc, which delete[] can free there. Thread-safe.
[[nodiscard]] bool IsFromArrayNew(const void* block);

}  // namespace larder::tool
