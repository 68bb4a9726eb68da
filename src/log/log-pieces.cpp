#include "log/log-pieces.h"

#include <chrono>
#include <cstdint>

#include "log/log-line.h"
#include "log/log-statement.h"
#include "platform/message.h"
#include "platform/module.h"

namespace larder {

namespace {

constexpr std::size_t kModuleNameRoom = 520;
constexpr std::size_t kMessageEnd = 2;  // the CR LF that the system's texts end in

void WriteTwoDigits(char*& text, unsigned value, char separator) noexcept {
  *text++ = static_cast<char>('0' + value / 10 % 10);
  *text++ = static_cast<char>('0' + value % 10);
  if (separator != '\0') *text++ = separator;
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
  const year_month_day date(day);
  const hh_mm_ss time(now - day);
  WriteTwoDigits(stamp, static_cast<unsigned>(static_cast<int>(date.year())) % 100, '/');
  WriteTwoDigits(stamp, static_cast<unsigned>(date.month()), '/');
  WriteTwoDigits(stamp, static_cast<unsigned>(date.day()), ' ');
  WriteTwoDigits(stamp, static_cast<unsigned>(time.hours().count()), ':');
  WriteTwoDigits(stamp, static_cast<unsigned>(time.minutes().count()), ':');
  WriteTwoDigits(stamp, static_cast<unsigned>(time.seconds().count()), '\0');
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
