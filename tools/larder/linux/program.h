// Programs of the system that the tool runs for its user.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/code.h"

namespace larder::tool {

// Takes a line of standard output without its line feed. False: no more lines are wanted.
using TakeOutputLine = std::function<bool(const std::string&)>;

struct ProgramEnd {
  bool isSuccess = false;  // exit status 0
  std::string end;         // otherwise: "exit status 1", "signal 9"
  std::string errors;      // standard error
};

// Runs a program to its end, without a limit of time. Standard input is empty. Processes that the
// program leaves go on; they must not keep its standard output open. Ctrl-C doesn't interrupt the
// program, but when this process ends, its next line of output does. program: a name that is
// searched for in PATH. Fails with kFileNotFound if it isn't installed.
[[nodiscard]] platform::Code RunProgram(const std::string& program,
                                        const std::vector<std::string>& arguments,
                                        const TakeOutputLine& takeLine, ProgramEnd& end);

}  // namespace larder::tool
