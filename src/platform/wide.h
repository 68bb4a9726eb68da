// Wide text, 16-bit units on every system, and its conversion to UTF-8 and back. The conversion
// takes a surrogate pair as one character; a lone surrogate becomes the three bytes of its value,
// so that every wide text survives a round trip.
#pragma once

#include <larder/records.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace larder {

using WideString = std::basic_string<LarderWideChar>;
using WideView = std::basic_string_view<LarderWideChar>;

}  // namespace larder

namespace larder::platform {

std::string Utf8FromWide(WideView text);

// Returns false if the text isn't UTF-8: invalid bytes, truncated sequences, overlong forms, values
// above U+10FFFF, or a surrogate pair in two sequences. Lone surrogates are accepted.
[[nodiscard]] bool WideFromUtf8(std::string_view utf8, WideString& wide);

// Removes one character from the front of a UTF-8 text, which must not be empty. Returns false if
// the text doesn't begin with a valid one; what is left of it is unspecified then. Lone surrogates
// are accepted.
[[nodiscard]] bool TakeCodePoint(std::string_view& utf8, std::uint32_t& point);

// Whether a character can end a line, control a terminal, or change the order in which the text
// around it is shown: the control characters (up to U+001F, U+007F to U+009F), the line and
// paragraph separators, and the bidirectional controls.
[[nodiscard]] bool IsControl(std::uint32_t point) noexcept;

}  // namespace larder::platform
