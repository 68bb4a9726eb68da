// The file provider's own log, in the folder of the library's log files.
#pragma once

#include <string>

namespace larder::feed {

// Appends a warning to "feedf.log" in the logs directory if logging is on at this moment. A line
// that can't be written is lost. May be called from any thread; throws nothing.
void LogWarning(const std::string& text) noexcept;

}  // namespace larder::feed
