// LTTng's program lttng.
#pragma once

#include <string>
#include <vector>

namespace larder::tool {

// Returns whether it succeeds. answer: what it printed or, if it fails, its reason. Throws
// std::runtime_error if it can't be run.
[[nodiscard]] bool RunLttng(const std::vector<std::string>& arguments, std::string& answer);

// Whether this user has the session of "larder trace".
[[nodiscard]] bool HasTraceSession();

}  // namespace larder::tool
