#include "tools/larder/linux/lttng.h"

#include <stdexcept>
#include <string_view>

#include "platform/message.h"
#include "tools/larder/linux/program.h"
#include "tools/larder/linux/trace-folder.h"

namespace larder::tool {

namespace {

std::string ReasonOf(const ProgramEnd& end) {
  constexpr std::string_view kMark = "Error: ";
  const std::size_t mark = end.errors.find(kMark);
  if (mark == std::string::npos) return end.end;
  const std::string reason = end.errors.substr(mark + kMark.size());
  return reason.substr(0, reason.find('\n'));
}

}  // namespace

bool RunLttng(const std::vector<std::string>& arguments, std::string& answer) {
  ProgramEnd end;
  answer.clear();
  const auto take = [&answer](const std::string& line) {
    answer += line + "\n";
    return true;
  };
  const platform::Code code = RunProgram("lttng", arguments, take, end);
  if (code == platform::kFileNotFound) {
    throw std::runtime_error("lttng isn't installed; install the package lttng-tools");
  }
  if (code != platform::kSuccess) {
    throw std::runtime_error("cannot run lttng: " + platform::SystemReason(code));
  }
  if (!end.isSuccess) answer = ReasonOf(end);
  return end.isSuccess;
}

bool HasTraceSession() {
  std::string ignored;
  return RunLttng({"list", TraceSessionName()}, ignored);
}

}  // namespace larder::tool
