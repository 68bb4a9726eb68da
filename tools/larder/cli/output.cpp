#include "tools/larder/cli/output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "platform/message.h"
#include "product/product.h"
#include "tools/larder/cli/text.h"

namespace larder::tool {
namespace {

// Whether a line is about a failed read of a registry value.
bool IsFailedRead(std::string_view body) {
  return body.starts_with("RegOpenKeyExW failed for ") ||
         body.starts_with("RegQueryValueExW failed for ");
}

}  // namespace

void Output::Write(std::string_view text) {
  if (Failed() || text.empty()) return;
  error = isTerminal ? WriteText(Stream::kOutput, Printable(text, "\n\t"))
                     : WriteText(Stream::kOutput, text);
}

void Output::Flush() {
  errno = 0;
  if (std::fflush(stdout) != 0 && !Failed()) error = errno != 0 ? errno : EIO;
}

bool Output::Finish() {
  Flush();
  if (!Failed()) return true;
  PrintError("cannot write to standard output: " + std::generic_category().message(error));
  return false;
}

void PrintError(std::string_view text) {
  (void)WriteText(Stream::kErrors, "larder: " + Printable(text) + "\n");
}

bool Succeeded(const std::string& what, platform::Code code) {
  if (code == platform::kSuccess) return true;
  PrintError("cannot " + what + ": " + platform::SystemReason(code));
  return false;
}

LogWatch::LogWatch() { LRLogListenerList::Instance().AddListener(this); }

LogWatch::~LogWatch() { LRLogListenerList::Instance().RemoveListener(this); }

void LogWatch::Log(const char* line) {
  std::string_view rest = line;
  if (rest.size() < kLogBodyStart) return;
  const std::string_view word = rest.substr(kLogWordStart, kLogWordSize);
  if (word != " WARN: " && word != "ERROR: ") return;
  rest.remove_prefix(kLogBodyStart);
  if (rest.ends_with("\r\n")) rest.remove_suffix(2);
  if (!IsFailedRead(rest)) reports.emplace_back(rest);
}

void LogWatch::PrintReports() {
  for (const std::string& report : std::exchange(reports, {})) PrintError(report);
}

}  // namespace larder::tool
