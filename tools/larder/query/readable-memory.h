// Memory of this process whose size another party states.
#pragma once

#include <cstddef>

namespace larder::tool {

// How many bytes can be read from an address, `limit` at most. The first byte must be readable. No
// other thread may unmap the memory meanwhile. The sources are in linux/ and windows/.
[[nodiscard]] std::size_t ReadableBytes(const void* start, std::size_t limit) noexcept;

}  // namespace larder::tool
