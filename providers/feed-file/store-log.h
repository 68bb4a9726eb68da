// The file provider's own log, in the folder of the library's log files.
#pragma once

#include <string>

namespace larder::feed {

// Appends a warning to "feedf.log" in the logs directory if logging is on at this moment. All
// processes that may write to the file share it. It is rotated as the library's logs are: at 100
// KiB it becomes "feedf.log.1", and so on to ".5". One process at a time rotates, holding the lock
// of "feedf.lock"; the others don't wait, but append to the full file. A text is logged at most
// once a minute, and at most 20 lines a minute in all; the next line says how many were left out. A
// line that can't be written is lost. May be called from any thread; throws nothing.
void LogWarning(const std::string& text) noexcept;

}  // namespace larder::feed
