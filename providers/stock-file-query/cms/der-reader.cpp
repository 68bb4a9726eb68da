#include "stock-file-query/cms/der-reader.h"

#include <cstddef>

namespace larder::feed {
namespace {

constexpr std::uint8_t kLongNumber = 0x1f;  // in the identifier: the tag number follows
constexpr std::uint8_t kLongLength = 0x80;  // plus the number of length bytes that follow

// Removes the length from the front of the bytes.
std::optional<std::uint64_t> TakeLength(Bytes& bytes) {
  if (bytes.empty()) return std::nullopt;
  const std::uint8_t first = bytes[0];
  bytes = bytes.subspan(1);
  if (first < kLongLength) return first;
  const std::size_t count = first - kLongLength;
  if (count == 0 || count > sizeof(std::uint64_t) || count > bytes.size()) return std::nullopt;
  std::uint64_t length = 0;
  for (const std::uint8_t byte : bytes.first(count)) length = length << 8 | byte;
  bytes = bytes.subspan(count);
  return length;
}

std::optional<DerElement> ElementAt(Bytes bytes) {
  if (bytes.empty() || (bytes[0] & kLongNumber) == kLongNumber) return std::nullopt;
  Bytes content = bytes.subspan(1);
  const std::optional<std::uint64_t> length = TakeLength(content);
  if (!length || *length > content.size()) return std::nullopt;
  const std::size_t size = bytes.size() - content.size() + *length;
  return DerElement{bytes[0], content.first(*length), bytes.first(size)};
}

}  // namespace

std::optional<DerElement> DerReader::Next() {
  const std::optional<DerElement> element = ElementAt(rest);
  rest = element ? rest.subspan(element->whole.size()) : Bytes();
  return element;
}

std::optional<DerElement> DerReader::Next(std::uint8_t tag) {
  if (rest.empty() || rest[0] != tag) return std::nullopt;
  return Next();
}

}  // namespace larder::feed
