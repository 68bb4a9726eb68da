#include "log/log-pieces.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>

#include "log/log-line.h"
#include "log/log-statement.h"
#include "platform/message.h"
#include "platform/module.h"

namespace larder {

namespace {

constexpr std::size_t kModuleNameRoom = 520;
constexpr std::size_t kMessageEnd = 2;  // the CR LF that the system's texts end in

using Days = std::chrono::sys_days;

// A date in one word, so that a cache of it needs no lock: the day's number in the upper half, and
// below it year of the century, month and day, a byte each.
std::uint64_t PackDate(Days day) noexcept {
  const std::chrono::year_month_day date(day);
  const auto number = static_cast<std::uint32_t>(day.time_since_epoch().count());
  const auto year = static_cast<unsigned>(static_cast<int>(date.year())) % 100;
  const auto month = static_cast<unsigned>(date.month());
  return std::uint64_t{number} << 32 | year << 16 | month << 8 | static_cast<unsigned>(date.day());
}

// The date of the last stamp. Calendar arithmetic takes longer than the rest of a stamp.
constinit std::atomic<std::uint64_t> LastDate{0};

unsigned DateOf(Days day) noexcept {
  std::uint64_t date = LastDate.load(std::memory_order_relaxed);
  if (date == 0 || date >> 32 != static_cast<std::uint32_t>(day.time_since_epoch().count())) {
    date = PackDate(day);
    LastDate.store(date, std::memory_order_relaxed);
  }
  return static_cast<unsigned>(date);
}

void WriteTwoDigits(char* text, unsigned value) noexcept {
  text[0] = static_cast<char>('0' + value / 10);
  text[1] = static_cast<char>('0' + value % 10);
}

}  // namespace

std::string WideToUtf8(WideView text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (const LarderWideChar unit : text) {
    const unsigned value = static_cast<unsigned>(unit);
    if (value < 0x80) {
      bytes += static_cast<char>(value);
    } else if (value < 0x800) {
      bytes += static_cast<char>(0xC0 | (value >> 6));
      bytes += static_cast<char>(0x80 | (value & 0x3F));
    } else {
      bytes += static_cast<char>(0xE0 | (value >> 12));
      bytes += static_cast<char>(0x80 | ((value >> 6) & 0x3F));
      bytes += static_cast<char>(0x80 | (value & 0x3F));
    }
  }
  return bytes;
}

void WritePointerDigits(const void* pointer, char* digits) noexcept {
  auto value = reinterpret_cast<std::uintptr_t>(pointer);
  for (std::size_t i = kPointerDigits; i-- > 0; value >>= 4) {
    digits[i] = "0123456789ABCDEF"[value & 0xF];
  }
}

std::string PointerText(const void* pointer) {
  std::string digits(kPointerDigits, '0');
  WritePointerDigits(pointer, digits.data());
  return digits;
}

void WriteTimeStamp(char* stamp) noexcept {
  using namespace std::chrono;
  const auto now = floor<seconds>(system_clock::now());
  const auto day = floor<days>(now);
  const unsigned date = DateOf(day);
  const auto second = static_cast<unsigned>((now - day).count());
  std::memcpy(stamp, "yy/mm/dd HH:MM:SS", kLogStampSize);
  WriteTwoDigits(stamp, date >> 16);
  WriteTwoDigits(stamp + 3, date >> 8 & 0xFF);
  WriteTwoDigits(stamp + 6, date & 0xFF);
  WriteTwoDigits(stamp + 9, second / 3600);
  WriteTwoDigits(stamp + 12, second / 60 % 60);
  WriteTwoDigits(stamp + 15, second % 60);
}

std::string GetTimeStamp() {
  std::string stamp(kLogStampSize, '\0');
  WriteTimeStamp(stamp.data());
  return stamp;
}

WideString FormatSystemError(platform::Code code) {
  WideString text = platform::SystemMessage(code);
  text.resize(std::min(text.size(), text.find(LarderWideChar{})));
  if (text.size() > kMessageEnd) text.resize(text.size() - kMessageEnd);
  WideString result;
  for (const char digit : std::to_string(code)) result += static_cast<LarderWideChar>(digit);
  return result + LARDER_WIDE(" \"") + text + LARDER_WIDE("\"");
}

WideString GetModuleName() {
  WideString path;
  const platform::Code code = platform::HostImagePath(path);
  if (code != platform::kSuccess) {
    LogWarn("GetModuleFileName() failed: ", FormatSystemError(code));
    return {};
  }
  path.resize(std::min(path.size(), kModuleNameRoom - 1));
  return path;
}

}  // namespace larder
