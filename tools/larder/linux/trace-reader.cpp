#include "tools/larder/linux/trace-reader.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "platform/message.h"
#include "tools/larder/linux/program.h"

namespace larder::tool {
namespace {

// Behind the time.
constexpr std::string_view kLineEvent = "] larder:line: ";
constexpr std::string_view kDroppedLineEvent = "] larder:dropped_line: ";

int DigitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// What is behind a backslash. Removes it.
char TakeEscaped(std::string_view& rest) {
  constexpr std::string_view kLetters = "abefnrtv";
  constexpr std::string_view kControls = "\a\b\x1B\f\n\r\t\v";
  const char c = rest.front();
  rest.remove_prefix(1);
  if (c == 'x' && rest.size() >= 2) {
    const int value = DigitOf(rest[0]) * 16 + DigitOf(rest[1]);
    rest.remove_prefix(2);
    return static_cast<char>(value);
  }
  const std::size_t letter = kLetters.find(c);
  return letter == std::string_view::npos ? c : kControls[letter];
}

std::string TakeQuoted(std::string_view& rest) {
  std::string text;
  rest.remove_prefix(1);
  while (!rest.empty() && rest.front() != '"') {
    if (rest.front() == '\\' && rest.size() > 1) {
      rest.remove_prefix(1);
      text += TakeEscaped(rest);
    } else {
      const std::size_t plain = std::min(rest.find_first_of("\\\"", 1), rest.size());
      text += rest.substr(0, plain);
      rest.remove_prefix(plain);
    }
  }
  if (!rest.empty()) rest.remove_prefix(1);
  return text;
}

// A text in quotation marks, with the escapes of C, or a number. Removes it.
std::string TakeValue(std::string_view& rest) {
  if (rest.starts_with('"')) return TakeQuoted(rest);
  const std::string_view value = rest.substr(0, rest.find_first_of(" ,"));
  rest.remove_prefix(value.size());
  return std::string(value);
}

std::string* FieldOf(TraceLine& line, std::string_view name) {
  if (name == "line") return &line.text;
  if (name == "procname") return &line.process;
  if (name == "vpid") return &line.processId;
  return name == "vtid" ? &line.threadId : nullptr;
}

// event: "[2024-02-29 23:59:59.123456789] larder:line: { ... }".
bool IsEvent(std::string_view event, std::string_view name) {
  const std::size_t end = event.find(']');
  return end != std::string_view::npos && event.substr(end).starts_with(name);
}

// The time from "[2024-02-29 23:59:59.123456789]".
std::string TimeOf(std::string_view event) {
  std::string time(event.substr(1, event.find(']') - 1));
  if (const std::size_t blank = time.find(' '); blank != std::string::npos) time[blank] = 'T';
  return time + 'Z';
}

bool HasFile(const std::filesystem::path& folder, const char* name) {
  std::error_code error;
  for (std::filesystem::recursive_directory_iterator entry(folder, error), end;
       !error && entry != end; entry.increment(error)) {
    if (entry->path().filename() == name) return true;
  }
  if (!error) return false;
  throw std::runtime_error("cannot read " + folder.string() + ": " + error.message());
}

// From "WARNING: Tracer discarded 43547 events between ...".
std::uint64_t DiscardedOf(const std::string& errors) {
  constexpr std::string_view kLoss = "Tracer discarded ";
  std::uint64_t lost = 0;
  for (std::size_t at = errors.find(kLoss); at != std::string::npos; at = errors.find(kLoss, at)) {
    at += kLoss.size();
    std::uint64_t count = 0;
    std::from_chars(errors.data() + at, errors.data() + errors.size(), count);
    lost += count;
  }
  return lost;
}

// babeltrace2 reports a chain of failures, the first cause last, in lines that it has folded. Those
// of its own library have addresses instead of reasons.
std::string CauseOf(const ProgramEnd& end) {
  std::istringstream lines(end.errors);
  std::string cause = end.end;
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("  ")) text.clear();
    if (line.starts_with("  ")) text += (text.empty() ? "" : " ") + line.substr(2);
    if (!text.empty() && text.find("-addr=") == std::string::npos) cause = text;
  }
  return cause;
}

// An event as babeltrace2 prints it; nothing for an event that isn't a line of Larder's.
std::optional<TraceLine> ParseEvent(const std::string& event) {
  if (!IsEvent(event, kLineEvent)) return {};
  TraceLine line;
  line.time = TimeOf(event);
  std::string_view rest =
      std::string_view(event).substr(event.find(kLineEvent) + kLineEvent.size());
  // Groups of fields: { cpu_id = 0 }, { vpid = 1, procname = "a" }, { line = "b" }
  while (!rest.empty()) {
    rest.remove_prefix(std::min(rest.find_first_not_of("{}, "), rest.size()));
    const std::size_t sign = rest.find(" = ");
    if (sign == std::string_view::npos) break;
    std::string* const field = FieldOf(line, rest.substr(0, sign));
    rest.remove_prefix(sign + 3);
    std::string value = TakeValue(rest);
    if (field != nullptr) *field = std::move(value);
  }
  return line;
}

void RunReader(const std::filesystem::path& folder, const TakeOutputLine& takeEvent,
               ProgramEnd& end) {
  // In front of an event's name are its time and the URI "emf", which LTTng's events lack.
  const platform::Code code =
      RunProgram("babeltrace2",
                 {"--log-level=NONE", "--clock-gmt", "--clock-date", "--no-delta", "--fields=emf",
                  "--names=payload,context", folder.string()},
                 takeEvent, end);
  if (code == platform::kFileNotFound) {
    throw std::runtime_error("cannot read " + folder.string() +
                             ": babeltrace2 isn't installed; install the package babeltrace2");
  }
  if (code != platform::kSuccess) {
    throw std::runtime_error("cannot run babeltrace2: " + platform::SystemReason(code));
  }
}

}  // namespace

TraceLosses ReadTrace(const std::filesystem::path& folder, const TakeTraceLine& take) {
  if (!HasFile(folder, "metadata")) {
    if (HasFile(folder, "ust")) return {};
    throw std::runtime_error("cannot read " + folder.string() + ": it isn't a trace");
  }
  TraceLosses losses;
  bool isWanted = true;
  const auto takeEvent = [&](const std::string& event) {
    if (IsEvent(event, kDroppedLineEvent)) ++losses.tooLong;
    const std::optional<TraceLine> line = ParseEvent(event);
    isWanted = !line || take(*line);
    return isWanted;
  };
  ProgramEnd end;
  RunReader(folder, takeEvent, end);
  if (isWanted && !end.isSuccess) {
    throw std::runtime_error("cannot read all of " + folder.string() + ": " + CauseOf(end));
  }
  losses.discarded = DiscardedOf(end.errors);
  // For the first buffer, which has no count before it.
  losses.isDiscardedMore = end.errors.find("Tracer may have discarded ") != std::string::npos;
  return losses;
}

}  // namespace larder::tool
