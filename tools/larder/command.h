// What the commands of the tool have in common. A command is a pair of files with one function that
// adds its subcommand to the parser; when the user has chosen it, the function's callback checks
// the arguments and stores what is to be done.
#pragma once

#include <functional>

#include "output.h"

namespace larder::tool {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// Does the work of a command once the whole command line has been accepted; gives the exit status.
// What failed has been told on standard error by then.
using Action = std::function<int(Output&)>;

}  // namespace larder::tool
