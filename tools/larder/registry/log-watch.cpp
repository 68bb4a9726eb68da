#include "tools/larder/registry/log-watch.h"

#include <string_view>
#include <utility>

#include "product/product.h"
#include "tools/larder/cli/errors.h"

namespace larder::tool {
namespace {

// How the routine begins that reads a value.
bool IsReading(std::string_view body) {
  return body.starts_with("RegOpenKeyExW failed for ") ||
         body.starts_with("RegQueryValueExW failed for ");
}

}  // namespace

LogWatch::LogWatch() { LRLogListenerList::Instance().AddListener(this); }

LogWatch::~LogWatch() { LRLogListenerList::Instance().RemoveListener(this); }

void LogWatch::Log(const char* line) {
  std::string_view rest = line;
  if (rest.size() < kLogBodyStart) return;
  const std::string_view word = rest.substr(kLogWordStart, kLogWordSize);
  if (word != " WARN: " && word != "ERROR: ") return;
  rest.remove_prefix(kLogBodyStart);
  if (rest.ends_with("\r\n")) rest.remove_suffix(2);
  if (!IsReading(rest)) reports.emplace_back(rest);
}

void LogWatch::PrintReports() {
  for (const std::string& report : std::exchange(reports, {})) PrintError(report);
}

}  // namespace larder::tool
