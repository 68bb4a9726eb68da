// Conversions of text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/wide.h"

namespace larder {

// The way back from WideToUtf8 (log/log-pieces.h): each sequence of one to six bytes gives one
// unit. Overlong forms are accepted; a value
// above 0xFFFF loses its upper bits. An invalid or cut sequence, or a value above 0x10FFFF, throws
// std::range_error with the text "bad conversion".
WideString Utf8ToWide(const std::string& text);

// Two characters of hexadecimal text give one byte; a single one at the end gives a byte too. Each
// pair is parsed as std::stoul parses it, blanks, signs and "0x" included: a pair without a digit
// throws std::invalid_argument, one that is out of range std::out_of_range.
std::vector<std::uint8_t> HexToBytes(const std::string& text);

// Remove white space of the current C locale at one end or both, in place. Return the same string.
std::string& TrimLeft(std::string& text);
std::string& TrimRight(std::string& text);
std::string& Trim(std::string& text);

// The fields between the separators. Empty fields are kept; empty text has one field.
std::vector<std::string> SplitString(const std::string& text, char separator);
std::vector<WideString> SplitString(const WideString& text, LarderWideChar separator);

}  // namespace larder
