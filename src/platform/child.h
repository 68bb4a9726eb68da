// Programs that this process runs and waits for.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

struct ChildEnd {
  enum class Kind {
    kExited,
    kCrashed,  // ended by the system: a signal, an exception that nobody handled
    kLate,     // still ran when its time was up, and was ended then
  };
  Kind kind = Kind::kExited;
  std::uint32_t status = 0;  // exit status; when crashed, the signal or the exception's code
  std::string output;        // standard output, of which the last 64 KiB
};

// Runs a program to its end, or until the limit has passed. Standard input is empty, standard error
// goes nowhere; environment and current directory are this process's, and the system shows no
// window about a crash. arguments: UTF-8, without the program's name. A code when it can't be
// started or watched. From one thread at a time.
[[nodiscard]] Code RunChild(const WideString& program, const std::vector<std::string>& arguments,
                            std::chrono::milliseconds limit, ChildEnd& end);

}  // namespace larder::platform
