#include "support/text.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace larder {

namespace {

constexpr std::uint32_t kLastCodePoint = 0x10FFFF;

[[noreturn]] void FailConversion() { throw std::range_error("bad conversion"); }

// What the first byte of a sequence encodes.
struct SequenceHead {
  std::size_t following;  // continuation bytes
  std::uint32_t bits;     // its share of the value
};

SequenceHead ReadHead(std::uint8_t byte) {
  if (byte < 0x80) return {0, byte};
  if (byte < 0xC0) FailConversion();
  if (byte < 0xE0) return {1, byte & 0x1FU};
  if (byte < 0xF0) return {2, byte & 0x0FU};
  if (byte < 0xF8) return {3, byte & 0x07U};
  if (byte < 0xFC) return {4, byte & 0x03U};
  return {5, byte & 0x03U};
}

bool IsSpace(char character) { return std::isspace(static_cast<unsigned char>(character)) != 0; }

template <typename String>
std::vector<String> Split(const String& text, typename String::value_type separator) {
  std::vector<String> fields;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find(separator, start)) != String::npos; start = end + 1) {
    fields.push_back(text.substr(start, end - start));
  }
  fields.push_back(text.substr(start));
  return fields;
}

// std::stoul, with the same texts in its exceptions on every system.
unsigned long ReadHex(const std::string& piece) {
  if (piece == "0x" || piece == "0X") return 0;  // the conversion of one system finds no digit
  try {
    return std::stoul(piece, nullptr, 16);
  } catch (const std::invalid_argument&) {
    throw std::invalid_argument("invalid stoul argument");
  } catch (const std::out_of_range&) {
    throw std::out_of_range("stoul argument out of range");
  }
}

}  // namespace

WideString Utf8ToWide(const std::string& text) {
  WideString wide;
  wide.reserve(text.size());
  for (auto at = text.begin(); at != text.end();) {
    auto [following, value] = ReadHead(static_cast<std::uint8_t>(*at++));
    for (; following > 0; --following) {
      if (at == text.end()) FailConversion();
      const auto byte = static_cast<std::uint8_t>(*at++);
      if ((byte & 0xC0) != 0x80) FailConversion();
      value = value << 6 | (byte & 0x3FU);
    }
    if (value > kLastCodePoint) FailConversion();
    wide += static_cast<LarderWideChar>(value);
  }
  return wide;
}

std::vector<std::uint8_t> HexToBytes(const std::string& text) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t at = 0; at < text.size(); at += 2) {
    bytes.push_back(static_cast<std::uint8_t>(ReadHex(text.substr(at, 2))));
  }
  return bytes;
}

std::string& TrimLeft(std::string& text) {
  text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), IsSpace));
  return text;
}

std::string& TrimRight(std::string& text) {
  text.erase(std::find_if_not(text.rbegin(), text.rend(), IsSpace).base(), text.end());
  return text;
}

std::string& Trim(std::string& text) { return TrimLeft(TrimRight(text)); }

std::vector<std::string> SplitString(const std::string& text, char separator) {
  return Split(text, separator);
}

std::vector<WideString> SplitString(const WideString& text, LarderWideChar separator) {
  return Split(text, separator);
}

}  // namespace larder
