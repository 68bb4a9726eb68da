// What a FileObjectDescriptor says, copied out of the client's memory.
#pragma once

#include <cstdint>
#include <string>

#include "platform/wide.h"

namespace larder::feed {

// The whole identity of an object. Two objects are the same if both fields are; the key is only a
// hash of them.
struct ObjectIdentity {
  std::uint64_t lastModified = 0;  // 100 ns since 1601-01-01 UTC; 0: whatever is there now
  WideString path;

  bool operator==(const ObjectIdentity&) const = default;
};

// descriptor points to a FileObjectDescriptor, of any alignment. Throws std::invalid_argument for
// an empty path.
ObjectIdentity ReadDescriptor(const void* descriptor);

// FNV-1a, 64 bits, over the bytes of lastModified and of the path's units, low bytes first.
std::uint64_t KeyOf(const ObjectIdentity& identity) noexcept;

// The path in UTF-8, in double quotes, for a text that a person reads.
std::string Quoted(WideView path);

}  // namespace larder::feed
