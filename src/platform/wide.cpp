#include "platform/wide.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>
#include <utility>

namespace larder::platform {
namespace {

constexpr std::uint32_t kHighFirst = 0xD800;
constexpr std::uint32_t kLowFirst = 0xDC00;
constexpr std::uint32_t kSurrogateEnd = 0xE000;
constexpr std::uint32_t kSupplementary = 0x10000;
constexpr std::uint32_t kCodePointEnd = 0x110000;

bool IsHigh(std::uint32_t unit) { return unit >= kHighFirst && unit < kLowFirst; }
bool IsLow(std::uint32_t unit) { return unit >= kLowFirst && unit < kSurrogateEnd; }

void AppendUtf8(std::string& out, std::uint32_t point) {
  const auto put = [&out](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
  if (point < 0x80) return put(point);
  if (point < 0x800) {
    put(0xC0 | point >> 6);
  } else {
    if (point < kSupplementary) {
      put(0xE0 | point >> 12);
    } else {
      put(0xF0 | point >> 18);
      put(0x80 | (point >> 12 & 0x3F));
    }
    put(0x80 | (point >> 6 & 0x3F));
  }
  put(0x80 | (point & 0x3F));
}

void AppendWide(WideString& out, std::uint32_t point) {
  if (point < kSupplementary) {
    out.push_back(static_cast<LarderWideChar>(point));
    return;
  }
  point -= kSupplementary;
  out.push_back(static_cast<LarderWideChar>(kHighFirst + (point >> 10)));
  out.push_back(static_cast<LarderWideChar>(kLowFirst + (point & 0x3FF)));
}

// What a lead byte says: the length of its sequence, the value's highest bits, and the smallest
// value that needs this length. The length is 0 if the byte can't start a sequence.
struct Lead {
  std::size_t length;
  std::uint32_t bits;
  std::uint32_t smallest;
};

Lead ReadLead(std::uint8_t byte) {
  if (byte < 0x80) return {1, byte, 0};
  if (byte < 0xC0) return {0, 0, 0};
  if (byte < 0xE0) return {2, byte & 0x1Fu, 0x80};
  if (byte < 0xF0) return {3, byte & 0x0Fu, 0x800};
  if (byte < 0xF8) return {4, byte & 0x07u, kSupplementary};
  return {0, 0, 0};
}

// Most texts are ASCII only. Copies the characters up to one that isn't, eight at a time: a loop of
// fixed length is compiled to vector instructions. Returns how many it has copied, which may be up
// to seven fewer. to: as many elements as text.
template <typename From, typename To>
std::size_t CopyAscii(std::basic_string_view<From> text, To* to) {
  constexpr std::size_t kStep = 8;
  using Unit = std::make_unsigned_t<From>;
  std::size_t done = 0;
  for (; done + kStep <= text.size(); done += kStep) {
    Unit all = 0;
    for (std::size_t i = 0; i < kStep; ++i) all |= static_cast<Unit>(text[done + i]);
    if (all >= 0x80) return done;
    for (std::size_t i = 0; i < kStep; ++i) to[done + i] = static_cast<To>(text[done + i]);
  }
  for (; done < text.size() && static_cast<Unit>(text[done]) < 0x80; ++done) {
    to[done] = static_cast<To>(text[done]);
  }
  return done;
}

}  // namespace

std::string Utf8FromWide(WideView text) {
  std::string utf8(text.size(), '\0');
  const std::size_t plain = CopyAscii(text, utf8.data());
  if (plain == text.size()) return utf8;
  utf8.resize(plain);
  for (std::size_t i = plain; i < text.size(); ++i) {
    std::uint32_t point = text[i];
    if (IsHigh(point) && i + 1 < text.size() && IsLow(text[i + 1])) {
      const std::uint32_t low = text[++i];
      point = kSupplementary + ((point - kHighFirst) << 10) + (low - kLowFirst);
    }
    AppendUtf8(utf8, point);
  }
  return utf8;
}

bool WideFromUtf8(std::string_view utf8, WideString& wide) {
  WideString result(utf8.size(), 0);
  const std::size_t plain = CopyAscii(utf8, result.data());
  result.resize(plain);
  utf8.remove_prefix(plain);
  std::uint32_t previous = 0;
  while (!utf8.empty()) {
    std::uint32_t point = 0;
    if (!TakeCodePoint(utf8, point)) return false;
    // A surrogate pair in two sequences would come back as one sequence of four bytes.
    if (IsLow(point) && IsHigh(previous)) return false;
    AppendWide(result, point);
    previous = point;
  }
  wide = std::move(result);
  return true;
}

bool TakeCodePoint(std::string_view& utf8, std::uint32_t& point) {
  const Lead lead = ReadLead(static_cast<std::uint8_t>(utf8.front()));
  if (lead.length == 0 || lead.length > utf8.size()) return false;
  point = lead.bits;
  for (std::size_t i = 1; i < lead.length; ++i) {
    const auto byte = static_cast<std::uint8_t>(utf8[i]);
    if ((byte & 0xC0) != 0x80) return false;
    point = point << 6 | (byte & 0x3Fu);
  }
  utf8.remove_prefix(lead.length);
  return point >= lead.smallest && point < kCodePointEnd;
}

bool IsControl(std::uint32_t point) noexcept {
  constexpr std::pair<std::uint32_t, std::uint32_t> kRanges[] = {
      {0, 0x1F},        {0x7F, 0x9F},     {0x61C, 0x61C},
      {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
  return std::any_of(std::begin(kRanges), std::end(kRanges), [point](const auto& range) {
    return point >= range.first && point <= range.second;
  });
}

}  // namespace larder::platform
