// Formats the pieces of a log line.
#pragma once

#include <cstddef>
#include <string>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder {

// Encodes each 16-bit unit by itself, as UTF-8 would encode that code point, in one to three bytes;
// a surrogate pair becomes two three-byte sequences. Every unit converts; NUL becomes a zero byte.
// Throws nothing but std::bad_alloc.
std::string WideToUtf8(WideView text);

// A pointer or handle value as 16 upper-case hexadecimal digits, on every system.
inline constexpr std::size_t kPointerDigits = 16;
void WritePointerDigits(const void* pointer, char* digits) noexcept;
std::string PointerText(const void* pointer);

// The current time in UTC as "%y/%m/%d %H:%M:%S", kLogStampSize characters.
std::string GetTimeStamp();
// The same, written to a buffer of kLogStampSize characters, without a terminator.
void WriteTimeStamp(char* stamp) noexcept;

// A system code with its text: the number in decimal, a blank, and the system's text in double
// quotes, without its line end. The text is empty for a code that has none.
WideString FormatSystemError(platform::Code code);

// Full path of the host process's image, truncated to 519 characters; empty, after a WARN line, if
// the system doesn't report it.
WideString GetModuleName();

}  // namespace larder
