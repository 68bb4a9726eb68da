#include "tools/larder/query/readable-memory.h"

#include <windows.h>

#include <algorithm>

namespace larder::tool {
namespace {

// How many bytes are between the address and the end of its readable region.
std::size_t ReadableInRegion(const unsigned char* address) noexcept {
  MEMORY_BASIC_INFORMATION region{};
  if (VirtualQuery(address, &region, sizeof region) == 0) return 0;
  const bool isReadable =
      region.State == MEM_COMMIT && (region.Protect & (PAGE_NOACCESS | PAGE_GUARD)) == 0;
  const auto* end = static_cast<const unsigned char*>(region.BaseAddress) + region.RegionSize;
  return isReadable ? static_cast<std::size_t>(end - address) : 0;
}

}  // namespace

std::size_t ReadableBytes(const void* start, std::size_t limit) noexcept {
  const auto* bytes = static_cast<const unsigned char*>(start);
  std::size_t readable = 0;
  while (readable < limit) {
    const std::size_t more = ReadableInRegion(bytes + readable);
    if (more == 0) break;
    readable += more;
  }
  return std::min(readable, limit);
}

}  // namespace larder::tool
