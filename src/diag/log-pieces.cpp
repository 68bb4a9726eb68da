#include "diag/log-pieces.h"

#include <chrono>

#include "diag/log-line.h"
#include "diag/log-statement.h"
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
  std::string stamp(LogLine::kStampSize, '\0');
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
