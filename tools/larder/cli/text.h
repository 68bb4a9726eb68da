// Text that the tool prints, and numbers that the user gives. Narrow text is UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace larder::tool {

// Replaces each control character with its symbol (line feed: U+240A), so that the text fits on one
// line.
std::string Printable(std::string_view text);

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
