// Texts of the tool: what goes to a person, and the numbers and names that a person gives. Narrow
// text is UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace larder::tool {

// The text on one line: each control character becomes its picture (line feed: U+240A).
std::string Printable(std::string_view text);

// Two lower-case hexadecimal digits for each byte, nothing between them.
std::string Hex(std::span<const unsigned char> bytes);

// "1 byte", "999 bytes", "1.0 kB", "2.5 GB": in steps of 1000.
std::string SizeText(std::uint64_t bytes);

// A moment in UTC as "2024-02-29T23:59:59Z". time: 100 ns since 1601-01-01 UTC.
std::string TimeText(std::uint64_t time);

// Decimal digits, or hexadecimal ones after 0x. Nothing for any other text (signs and blanks
// included) and for a number above the limit.
std::optional<std::uint64_t> ParseUnsigned(std::string_view text, std::uint64_t limit);

// The same with a minus sign allowed in front.
std::optional<std::int32_t> ParseInt32(std::string_view text);

}  // namespace larder::tool
