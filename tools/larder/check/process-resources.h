// What this process holds, to see what a module leaves behind. The sources are in linux/ and
// windows/. On Linux the first two need /proc, and throw std::runtime_error without it.
#pragma once

#include <cstddef>

namespace larder::tool {

// The running threads.
[[nodiscard]] std::size_t CountThreads();

// Open descriptors; on Windows, handles of the system's objects.
[[nodiscard]] std::size_t CountHandles();

// Bytes that are allocated from the heap of the C and C++ runtime.
[[nodiscard]] std::size_t CountHeapBytes();

}  // namespace larder::tool
