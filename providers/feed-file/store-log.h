// What the file provider has to say about its store, where the library's log lies.
#pragma once

#include <string>

namespace larder::feed {

// Appends a line to "feedf.log" in the logs directory, if logging is on at this moment. A line that
// can't be written is lost. Any thread; lets nothing out.
void LogWarning(const std::string& text) noexcept;

}  // namespace larder::feed
