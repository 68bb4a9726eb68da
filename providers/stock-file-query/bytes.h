// Bytes that somebody else owns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace larder::feed {

using Bytes = std::span<const std::uint8_t>;

// The unsigned number of at most four bytes that lies there, lowest byte first; 0 if the bytes
// don't hold all of it.
constexpr std::uint32_t Number(Bytes bytes, std::size_t offset, std::size_t size) {
  std::uint32_t number = 0;
  if (offset > bytes.size() || size > bytes.size() - offset) return number;
  for (std::size_t i = 0; i < size; ++i) number |= std::uint32_t{bytes[offset + i]} << (8 * i);
  return number;
}

}  // namespace larder::feed
