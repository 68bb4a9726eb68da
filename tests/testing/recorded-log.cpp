#include "testing/recorded-log.h"

#include <algorithm>
#include <regex>

#include "log/log-pieces.h"

namespace larder {
namespace {

std::string Replaced(std::string text, const std::string& part, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += by.size()) {
    text.replace(at, part.size(), by);
  }
  return text;
}

std::string BodyOf(const std::string& line) {
  constexpr std::size_t kStampAndColon = 19;
  return Replaced(line.substr(kStampAndColon), "\r\n", "");
}

}  // namespace

RecordedLog::RecordedLog() { LRLogListenerList::Instance().AddListener(this); }

RecordedLog::~RecordedLog() { LRLogListenerList::Instance().RemoveListener(this); }

void RecordedLog::Log(const char* line) {
  const std::lock_guard lock(mutex);
  entries.push_back({line, std::this_thread::get_id()});
  lineCame.notify_all();
}

std::vector<std::string> RecordedLog::WholeLines() const {
  const std::lock_guard lock(mutex);
  std::vector<std::string> lines;
  for (const Entry& entry : entries) lines.push_back(entry.line);
  return lines;
}

std::vector<std::string> RecordedLog::Lines() const {
  std::vector<std::string> bodies;
  for (const std::string& line : WholeLines()) bodies.push_back(BodyOf(line));
  return bodies;
}

std::string RecordedLog::Text() const {
  std::string text;
  {
    const std::lock_guard lock(mutex);
    for (const Entry& entry : entries) {
      if (entry.thread == std::this_thread::get_id()) text += BodyOf(entry.line) + "\n";
    }
  }
  return Neutral(text);
}

std::string RecordedLog::Neutral(std::string text) {
  static const std::regex kHandle("\\b(?!0{16}|F{16})[0-9A-F]{16}\\b");
  text = std::regex_replace(text, kHandle, "<handle>");
  return Replaced(text, WideToUtf8(GetModuleName()), "<host>");
}

bool RecordedLog::Has(const std::string& part) const {
  return std::ranges::any_of(
      entries, [&](const Entry& entry) { return entry.line.find(part) != std::string::npos; });
}

bool RecordedLog::Contains(const std::string& part) const {
  const std::lock_guard lock(mutex);
  return Has(part);
}

void RecordedLog::WaitFor(const std::string& part) {
  std::unique_lock lock(mutex);
  lineCame.wait(lock, [&] { return Has(part); });
}

void RecordedLog::Clear() {
  const std::lock_guard lock(mutex);
  entries.clear();
}

}  // namespace larder
