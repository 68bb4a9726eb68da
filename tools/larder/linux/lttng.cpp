#include "tools/larder/linux/lttng.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "platform/message.h"
#include "tools/larder/linux/program.h"
#include "tools/larder/linux/trace-folder.h"

namespace larder::tool {

bool RunLttng(const std::vector<std::string>& arguments, std::string& reason) {
  ProgramEnd end;
  const auto discard = [](const std::string&) { return true; };
  const platform::Code code = RunProgram("lttng", arguments, discard, end);
  if (code == platform::kFileNotFound) {
    throw std::runtime_error("lttng isn't installed; install the package lttng-tools");
  }
  if (code != platform::kSuccess) {
    throw std::runtime_error("cannot run lttng: " + platform::SystemReason(code));
  }
  constexpr std::string_view kMark = "Error: ";
  const std::size_t mark = end.errors.find(kMark);
  reason = mark == std::string::npos ? end.end : end.errors.substr(mark + kMark.size());
  reason.erase(std::min(reason.find('\n'), reason.size()));
  return end.isSuccess;
}

bool HasTraceSession() {
  std::string ignored;
  return RunLttng({"list", TraceSessionName()}, ignored);
}

}  // namespace larder::tool
