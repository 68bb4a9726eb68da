// The trace session that "larder trace" controls. On Linux, LTTng's, by its programs lttng and
// babeltrace2 (linux/trace-session.cpp, linux/trace-reader.cpp). On Windows, ETW's: the commands of
// the system's programs are printed, to be run by an administrator (windows/trace-session.cpp).
//
// Each returns the exit status, and throws std::runtime_error for a failure that ends the command.
#pragma once

#include <optional>
#include <string>

#include "tools/larder/cli/output.h"

namespace larder::tool {

// folder: where the trace goes; nothing: a folder that the system's users expect.
int StartTrace(const std::optional<std::string>& folder, Output& output);

int StopTrace(Output& output);

struct TraceShowArguments {
  std::optional<std::string> folder;  // nothing: that of the last StartTrace
  bool isJson = false;
};
int ShowTrace(const TraceShowArguments& arguments, Output& output);

}  // namespace larder::tool
