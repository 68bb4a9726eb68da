// Child processes that this process starts and waits for.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
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
  std::string output;        // the first 64 KiB of standard output
};

// Runs a program until it ends or the limit has passed, and kills all processes that it has started
// and left. Standard input is empty and standard error is discarded; no other handle of this
// process is inherited. Environment and current directory are those of this process, and the system
// shows no window about a crash. arguments: UTF-8, without the program's name. Fails with a code if
// the program can't be started or waited for. Must not be called from two threads at the same time,
// and the process must not start other children meanwhile: on Linux it would take them for the
// program's.
[[nodiscard]] platform::Code RunChild(const WideString& program,
                                      const std::vector<std::string>& arguments,
                                      std::chrono::milliseconds limit, ChildResult& result);

// Called in a child of RunChild: from here on it is killed if the process that started it is.
void EndWithStarter() noexcept;

// Ends this process if it is a copy of one that has called EndWithStarter: if a module has forked
// (on Linux) and returns twice. The copies would go on with the same work, and be copied again.
void EndIfCopied() noexcept;

// Takes standard output away from the rest of this process, and of the processes that it starts:
// what they print from then on is discarded. Returns the former standard output, which no child
// inherits; null if the system can't do that. The caller owns the file.
[[nodiscard]] std::FILE* TakeStandardOutput() noexcept;

}  // namespace larder::tool
