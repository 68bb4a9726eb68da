// The contents of a FileObjectDescriptor, copied out of the client's memory.
#pragma once

#include <cstdint>
#include <string>

#include "platform/wide.h"

namespace larder::feed {

// The identity of an object. Two objects are the same if both fields are equal; the key is only a
// hash of them.
struct ObjectIdentity {
  std::uint64_t lastModified = 0;  // 100 ns since 1601-01-01 UTC; 0: any
  WideString path;

  bool operator==(const ObjectIdentity&) const = default;
};

// descriptor: a FileObjectDescriptor of any alignment. Throws std::invalid_argument if the path is
// empty.
ObjectIdentity ReadDescriptor(const void* descriptor);

// The 64-bit FNV-1a hash of the bytes of lastModified and of the path's units, low bytes first.
std::uint64_t KeyOf(const ObjectIdentity& identity) noexcept;

// A path in UTF-8 for a message. Characters that platform::IsControl accepts are escaped as
// "<U+000A>", so that a file's name can't add a line to a log.
std::string Shown(WideView path);

// The same in double quotes.
std::string Quoted(WideView path);

}  // namespace larder::feed
