// larder remove: takes away what an installation left on the machine.
#pragma once

#include <CLI/CLI.hpp>

#include "command.h"

namespace larder::tool {

void AddRemoveCommand(CLI::App& app, Action& action);

}  // namespace larder::tool
