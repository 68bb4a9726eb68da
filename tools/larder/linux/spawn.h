// Starts a program, for the ways in which this process waits for it.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/code.h"

namespace larder::tool {

struct SpawnSettings {
  int output = -1;  // becomes standard output and standard error; what is -1 is discarded
  int errors = -1;
  bool isOfOwnGroup = false;  // Ctrl-C interrupts this process and not the program
};

// Standard input is empty, and no other descriptor of this process is inherited. program: a path,
// or a name that is searched for in PATH. arguments: without the program's name. Fails with
// kFileNotFound if there is no such program.
[[nodiscard]] platform::Code Spawn(const std::string& program, std::vector<std::string> arguments,
                                   const SpawnSettings& settings, pid_t& child);

// Waits for the child's end. status: as waitpid stores it.
[[nodiscard]] platform::Code WaitForChild(pid_t child, int& status);

}  // namespace larder::tool
