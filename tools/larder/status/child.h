// Child processes that this process starts and waits for.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::tool {

struct ChildResult {
  enum class Kind {
    kExited,
    kCrashed,   // ended by the system: a signal, or an unhandled exception
    kTimedOut,  // still running at the time limit, and killed
  };
  Kind kind = Kind::kExited;
  std::uint32_t status = 0;  // exit status; if it crashed, the signal or the exception's code
  std::string output;        // the last 64 KiB of standard output
};

// Runs a program until it ends or the limit has passed. Standard input is empty and standard error
// is discarded; environment and current directory are those of this process, and the system shows
// no window about a crash. arguments: UTF-8, without the program's name. Fails with a code if the
// program can't be started or waited for. Must not be called from two threads at the same time.
[[nodiscard]] platform::Code RunChild(const WideString& program,
                                      const std::vector<std::string>& arguments,
                                      std::chrono::milliseconds limit, ChildResult& result);

}  // namespace larder::tool
