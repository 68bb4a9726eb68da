// A view of bytes that somebody else owns.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace larder::feed {

using Bytes = std::span<const std::uint8_t>;

constexpr bool Equal(Bytes one, Bytes other) { return std::ranges::equal(one, other); }

// The unsigned little-endian number of size bytes, at most 4, at the offset; 0 if it isn't wholly
// within the bytes.
constexpr std::uint32_t ReadLittleEndian(Bytes bytes, std::size_t offset, std::size_t size) {
  std::uint32_t number = 0;
  if (offset > bytes.size() || size > bytes.size() - offset) return number;
  for (std::size_t i = 0; i < size; ++i) number |= std::uint32_t{bytes[offset + i]} << (8 * i);
  return number;
}

}  // namespace larder::feed
