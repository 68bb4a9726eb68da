// The lines that a trace session has recorded, read by babeltrace2.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace larder::tool {

// A text is empty if the session didn't record it.
struct TraceLine {
  std::string time;  // UTC: "2024-02-29T23:59:59.123456789Z"
  std::string process;
  std::string processId;
  std::string threadId;
  std::string text;  // byte for byte
};

// False: no more lines are wanted.
using TakeTraceLine = std::function<bool(const TraceLine&)>;

// Lines that a session hasn't recorded.
struct TraceLosses {
  std::uint64_t discarded = 0;   // the session's buffers were full
  bool isDiscardedMore = false;  // there were more of them; the trace doesn't say how many
  std::uint64_t tooLong = 0;     // longer than 64 KiB
};

// Passes all lines in the order of their times. A session without a line isn't an error. Throws
// std::runtime_error if the folder isn't a trace or can't be read.
TraceLosses ReadTrace(const std::filesystem::path& folder, const TakeTraceLine& take);

}  // namespace larder::tool
