// Conversions of text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/wide.h"

namespace larder {

// Encodes each 16-bit unit by itself, one to three bytes, in the manner of UTF-8; neighbours are
// not regarded, so that a surrogate pair becomes two three-byte sequences. Every unit converts; NUL
// becomes a zero byte. Throws nothing but std::bad_alloc.
std::string WideToUtf8(WideView text);

// The way back: each sequence of one to six bytes gives one unit. Overlong forms are taken; a value
// above 0xFFFF loses its upper bits. An invalid or cut sequence, or a value above 0x10FFFF, throws
// std::range_error with the text "bad conversion".
WideString Utf8ToWide(const std::string& text);

// Two characters of hexadecimal text give one byte; a last single one counts by itself. Each pair
// is read as std::stoul reads it, blanks, signs and "0x" included. A pair without a digit throws
// std::invalid_argument, one that is out of range std::out_of_range.
std::vector<std::uint8_t> HexToBytes(const std::string& text);

// Remove white space of the current C locale at one end or both, in place; the same string is
// returned.
std::string& TrimLeft(std::string& text);
std::string& TrimRight(std::string& text);
std::string& Trim(std::string& text);

// The fields between the separators. Empty fields are kept, and empty text has one.
std::vector<std::string> SplitString(const std::string& text, char separator);
std::vector<WideString> SplitString(const WideString& text, LarderWideChar separator);

// A pointer or handle value as 16 upper-case hexadecimal digits, on every system.
inline constexpr std::size_t kPointerDigits = 16;
void WritePointerDigits(const void* pointer, char* digits) noexcept;
std::string PointerText(const void* pointer);

}  // namespace larder
