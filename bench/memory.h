// The memory of this process. One source for each system.
#pragma once

#include <cstddef>

namespace larder {

// Bytes that are allocated now, with the allocator's own share.
std::size_t AllocatedBytes();

}  // namespace larder
