// larder log on | off | path | list | show: the log that the library writes to disk.
#pragma once

#include <CLI/CLI.hpp>

#include "command.h"

namespace larder::tool {

void AddLogCommand(CLI::App& app, Action& action);

}  // namespace larder::tool
