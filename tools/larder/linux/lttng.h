// LTTng's program lttng.
#pragma once

#include <string>
#include <vector>

namespace larder::tool {

// Returns false if it fails; reason then has its message. Throws std::runtime_error if it can't be
// run.
[[nodiscard]] bool RunLttng(const std::vector<std::string>& arguments, std::string& reason);

// Whether this user has the session of "larder trace".
[[nodiscard]] bool HasTraceSession();

}  // namespace larder::tool
