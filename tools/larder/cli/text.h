// Text that the tool prints, and numbers that the user gives. Narrow text is UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace larder::tool {

// Makes a text safe to show on one line. A control character up to U+001F becomes its symbol (line
// feed: U+240A), unless it is one of `kept`. A character from U+007F on that platform::IsControl
// accepts becomes an escape as in JSON ("\u202e"), a byte that isn't UTF-8 becomes "\xff".
std::string Printable(std::string_view text, std::string_view kept = {});

// Two lower-case hexadecimal digits for each byte, without separators.
std::string Hex(std::span<const unsigned char> bytes);

// "1 byte", "999 bytes", "1.0 kB", "2.5 GB": in steps of 1000.
std::string SizeText(std::uint64_t bytes);

// A time as "2024-02-29T23:59:59Z". time: in units of 100 ns since 1601-01-01 UTC.
std::string TimeText(std::uint64_t time);

// Parses decimal digits, or hexadecimal digits after 0x. Nothing for any other text (signs and
// blanks aren't accepted) and for a number above the limit.
std::optional<std::uint64_t> ParseUnsigned(std::string_view text, std::uint64_t limit);

// The same, but accepts a minus sign in front.
std::optional<std::int32_t> ParseInt32(std::string_view text);

}  // namespace larder::tool
