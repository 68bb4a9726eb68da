#include "tools/larder/cli/text.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <limits>

#include "platform/wide.h"

namespace larder::tool {
namespace {

std::string Escape(std::uint32_t point, const char* format) {
  std::array<char, 16> text;
  const int length = std::snprintf(text.data(), text.size(), format, point);
  return {text.data(), static_cast<std::size_t>(length)};
}

std::string Symbol(std::uint32_t control) {
  return {'\xE2', '\x90', static_cast<char>(0x80 + control)};
}

// Removes a character, or a byte that isn't part of one, and returns how it is shown.
std::string TakeShown(std::string_view& text, std::string_view kept) {
  std::string_view rest = text;
  std::uint32_t point = 0;
  const bool isInvalid = !platform::TakeCodePoint(rest, point) || (point >> 11) == 0xD800 >> 11;
  if (isInvalid) rest = text.substr(1);
  const std::string_view taken = text.substr(0, text.size() - rest.size());
  text = rest;
  if (isInvalid) return Escape(static_cast<unsigned char>(taken.front()), "\\x%02x");
  if (!platform::IsControl(point) || kept.find(taken) != std::string_view::npos)
    return std::string(taken);
  return point < 0x20 ? Symbol(point) : Escape(point, "\\u%04x");
}

}  // namespace

std::string Printable(std::string_view text, std::string_view kept) {
  std::string result;
  while (!text.empty()) result += TakeShown(text, kept);
  return result;
}

std::string Hex(std::span<const unsigned char> bytes) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  std::string result;
  for (const unsigned char byte : bytes) {
    result += kDigits[byte >> 4];
    result += kDigits[byte & 15];
  }
  return result;
}

std::string SizeText(std::uint64_t bytes) {
  if (bytes < 1000) return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
  constexpr std::string_view kPrefixes = "kMGTPE";
  std::size_t step = 0;
  double amount = static_cast<double>(bytes) / 1000;
  // From 999.95 on, rounding to one decimal place would give four digits before the point.
  for (; amount >= 999.95 && step + 1 < kPrefixes.size(); ++step) amount /= 1000;
  std::array<char, 40> text;
  const int length = std::snprintf(text.data(), text.size(), "%.1f %cB", amount, kPrefixes[step]);
  return {text.data(), static_cast<std::size_t>(length)};
}

std::string TimeText(std::uint64_t time) {
  using std::chrono::days;
  using std::chrono::seconds;
  using std::chrono::sys_days;
  constexpr sys_days kStart{std::chrono::year(1601) / 1 / 1};
  const seconds sinceStart(static_cast<std::int64_t>(time / 10'000'000));
  const auto day = std::chrono::floor<days>(sinceStart);
  const std::chrono::year_month_day date(kStart + day);
  const std::chrono::hh_mm_ss clock(sinceStart - day);
  std::array<char, 40> text;
  const int length = std::snprintf(
      text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
      static_cast<int>(clock.seconds().count()));
  return {text.data(), static_cast<std::size_t>(length)};
}

std::optional<std::uint64_t> ParseUnsigned(std::string_view text, std::uint64_t limit) {
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  if (isHex) text.remove_prefix(2);
  const char* end = text.data() + text.size();
  std::uint64_t number = 0;
  const auto [stop, error] = std::from_chars(text.data(), end, number, isHex ? 16 : 10);
  if (error != std::errc() || stop != end || number > limit) return std::nullopt;
  return number;
}

std::optional<std::int32_t> ParseInt32(std::string_view text) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::int32_t>::max();
  const bool isNegative = text.starts_with('-');
  if (isNegative) text.remove_prefix(1);
  const auto number = ParseUnsigned(text, isNegative ? kMax + 1 : kMax);
  if (!number) return std::nullopt;
  const auto value = static_cast<std::int64_t>(*number);
  return static_cast<std::int32_t>(isNegative ? -value : value);
}

}  // namespace larder::tool
