#include "common/object-identity.h"

#include <larder/records.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>

#include "platform/wide.h"

namespace larder::feed {
namespace {

template <typename Value>
Value ReadAt(const void* source, std::size_t offset) noexcept {
  Value value;
  std::memcpy(&value, static_cast<const unsigned char*>(source) + offset, sizeof value);
  return value;
}

WideString ReadPath(const void* descriptor) {
  constexpr std::size_t kStart = offsetof(FileObjectDescriptor, filePath);
  constexpr std::size_t kUnit = sizeof(LarderWideChar);
  std::size_t length = 0;
  while (ReadAt<LarderWideChar>(descriptor, kStart + length * kUnit) != 0) ++length;
  WideString path(length, 0);
  std::memcpy(path.data(), static_cast<const unsigned char*>(descriptor) + kStart, length * kUnit);
  return path;
}

class Fnv1a {
 public:
  void Add(std::uint64_t value, int bytes) noexcept {
    for (int i = 0; i < bytes; ++i) {
      hash = (hash ^ (value & 0xFF)) * 0x100000001B3u;
      value >>= 8;
    }
  }
  std::uint64_t hash = 0xCBF29CE484222325u;
};

}  // namespace

ObjectIdentity ReadDescriptor(const void* descriptor) {
  const std::uint64_t low = ReadAt<std::uint32_t>(descriptor, 0);
  const std::uint64_t high = ReadAt<std::uint32_t>(descriptor, 4);
  ObjectIdentity identity{high << 32 | low, ReadPath(descriptor)};
  if (identity.path.empty()) throw std::invalid_argument("The descriptor's path is empty");
  return identity;
}

std::uint64_t KeyOf(const ObjectIdentity& identity) noexcept {
  Fnv1a fnv;
  fnv.Add(identity.lastModified, 8);
  for (const LarderWideChar unit : identity.path) fnv.Add(unit, 2);
  return fnv.hash;
}

std::string Shown(WideView path) {
  constexpr WideView kDigits = LARDER_WIDE("0123456789ABCDEF");
  WideString shown;
  for (const LarderWideChar unit : path) {
    if (!platform::IsControl(unit)) {
      shown += unit;
      continue;
    }
    shown += LARDER_WIDE("<U+");
    for (int shift = 12; shift >= 0; shift -= 4) shown += kDigits[unit >> shift & 15];
    shown += LARDER_WIDE('>');
  }
  return platform::Utf8FromWide(shown);
}

std::string Quoted(WideView path) { return '"' + Shown(path) + '"'; }

}  // namespace larder::feed
