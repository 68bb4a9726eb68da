#include "testing/recorded-log.h"

#include <regex>

#include "diag/log-pieces.h"
#include "support/text.h"

namespace larder {

namespace {

constexpr std::size_t kStampAndColon = 19;

std::string WithoutHandles(const std::string& text) {
  static const std::regex handle("\\b[0-9A-F]{16}\\b");
  std::string result;
  auto last = text.begin();
  for (std::sregex_iterator match(text.begin(), text.end(), handle), end; match != end; ++match) {
    result.append(last, text.begin() + match->position());
    const std::string digits = match->str();
    const bool isEmpty = digits.find_first_not_of(digits.front()) == std::string::npos;
    result += isEmpty ? digits : "<handle>";
    last = text.begin() + match->position() + match->length();
  }
  return result.append(last, text.end());
}

std::string Replaced(std::string text, const std::string& part, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += by.size()) {
    text.replace(at, part.size(), by);
  }
  return text;
}

}  // namespace

RecordedLog::RecordedLog() { LRLogListenerList::Instance().AddListener(this); }

RecordedLog::~RecordedLog() { LRLogListenerList::Instance().RemoveListener(this); }

void RecordedLog::Log(const char* line) {
  const std::lock_guard lock(mutex);
  lines.emplace_back(line);
}

std::vector<std::string> RecordedLog::WholeLines() const {
  const std::lock_guard lock(mutex);
  return lines;
}

std::vector<std::string> RecordedLog::Lines() const {
  std::vector<std::string> bodies;
  for (const std::string& line : WholeLines()) {
    bodies.push_back(Replaced(line.substr(kStampAndColon), "\r\n", ""));
  }
  return bodies;
}

std::string RecordedLog::Text() const {
  std::string text;
  for (const std::string& line : Lines()) text += line + "\n";
  return Replaced(WithoutHandles(text), WideToUtf8(GetModuleName()), "<host>");
}

bool RecordedLog::Contains(const std::string& part) const {
  for (const std::string& line : WholeLines()) {
    if (line.find(part) != std::string::npos) return true;
  }
  return false;
}

void RecordedLog::Clear() {
  const std::lock_guard lock(mutex);
  lines.clear();
}

}  // namespace larder
