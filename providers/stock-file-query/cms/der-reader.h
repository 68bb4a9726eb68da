// Takes apart what is written in DER (ITU-T X.690), as certificates and signatures are.
#pragma once

#include <cstdint>
#include <optional>

#include "stock-file-query/bytes.h"

namespace larder::feed {

// Tags as they stand in the first byte: class, form and number.
namespace der {
inline constexpr std::uint8_t kBoolean = 0x01;
inline constexpr std::uint8_t kInteger = 0x02;
inline constexpr std::uint8_t kOctetString = 0x04;
inline constexpr std::uint8_t kObjectIdentifier = 0x06;
inline constexpr std::uint8_t kSequence = 0x30;
inline constexpr std::uint8_t kSet = 0x31;
// [number], of the context that it stands in.
constexpr std::uint8_t ContextPrimitive(std::uint8_t number) { return 0x80 | number; }
constexpr std::uint8_t ContextConstructed(std::uint8_t number) { return 0xa0 | number; }
}  // namespace der

struct DerElement {
  std::uint8_t tag = 0;
  Bytes content;
  Bytes whole;  // with tag and length
};

// Gives the elements of some bytes, one behind the other; the bytes belong to the caller, and what
// is given points into them. An element is taken apart by a reader over its content, so how deep
// that goes is up to the caller: the reader itself goes into nothing and allocates nothing. Each
// call takes the same short time.
//
// The first element that can't be read ends the run: one that is cut off by the bytes' end, whose
// length takes more than 8 bytes, or whose number takes more than the first byte. So does one of
// indefinite length, which BER has and DER hasn't. Lengths with more bytes than they need are
// taken: they don't make the element's end uncertain.
class DerReader {
 public:
  explicit DerReader(Bytes bytes) : rest(bytes) {}

  // The next element; nothing at the end.
  std::optional<DerElement> Next();
  // The next element if it has that tag; otherwise nothing, and it remains the next.
  std::optional<DerElement> Next(std::uint8_t tag);
  // Goes past the next element if it has that tag; whether it had.
  bool Skip(std::uint8_t tag) { return Next(tag).has_value(); }

 private:
  Bytes rest;
};

}  // namespace larder::feed
