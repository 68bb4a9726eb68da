// Conversions of text.
#pragma once

#include <cstddef>
#include <string>

#include "platform/wide.h"

namespace larder {

// Encodes each 16-bit unit by itself, one to three bytes, in the manner of UTF-8; neighbours are
// not regarded, so that a surrogate pair becomes two three-byte sequences. Every unit converts; NUL
// becomes a zero byte. Throws nothing but std::bad_alloc.
std::string WideToUtf8(WideView text);

// A pointer or handle value as 16 upper-case hexadecimal digits, on every system.
inline constexpr std::size_t kPointerDigits = 16;
void WritePointerDigits(const void* pointer, char* digits) noexcept;
std::string PointerText(const void* pointer);

}  // namespace larder
