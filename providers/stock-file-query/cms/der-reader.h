// Parses DER (ITU-T X.690), the encoding of certificates and signatures.
#pragma once

#include <cstdint>
#include <optional>

#include "stock-file-query/bytes.h"

namespace larder::feed {

// Identifier octets: class, primitive or constructed, and tag number.
namespace der {
inline constexpr std::uint8_t kBoolean = 0x01;
inline constexpr std::uint8_t kInteger = 0x02;
inline constexpr std::uint8_t kOctetString = 0x04;
inline constexpr std::uint8_t kObjectIdentifier = 0x06;
inline constexpr std::uint8_t kSequence = 0x30;
inline constexpr std::uint8_t kSet = 0x31;
// Context-specific: [number] in the ASN.1 module.
constexpr std::uint8_t ContextPrimitive(std::uint8_t number) { return 0x80 | number; }
constexpr std::uint8_t ContextConstructed(std::uint8_t number) { return 0xa0 | number; }
}  // namespace der

struct DerElement {
  std::uint8_t tag = 0;
  Bytes content;
  Bytes whole;  // with the tag and the length
};

// Iterates over a sequence of elements. The caller owns the bytes, and the elements point into
// them. The reader doesn't descend: to parse an element's content, create a reader over it.
// Allocates nothing; each call takes constant time.
//
// An element that can't be parsed ends the sequence: one that exceeds the bytes, has a length of
// more than 8 bytes, has a tag number of more than one byte, or has an indefinite length, which BER
// allows and DER doesn't. A length in more bytes than necessary is accepted, although DER forbids
// it.
class DerReader {
 public:
  explicit DerReader(Bytes bytes) : rest(bytes) {}

  // Returns the next element; nothing at the end.
  std::optional<DerElement> Next();
  // Returns the next element if it has this tag; otherwise nothing, and it stays the next one.
  std::optional<DerElement> Next(std::uint8_t tag);
  // Skips the next element if it has this tag; returns whether it did.
  bool Skip(std::uint8_t tag) { return Next(tag).has_value(); }

 private:
  Bytes rest;
};

}  // namespace larder::feed
