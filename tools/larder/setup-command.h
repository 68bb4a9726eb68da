// larder setup: the registry of a machine on which the modules lie beside this program.
#pragma once

#include <CLI/CLI.hpp>

#include "command.h"

namespace larder::tool {

void AddSetupCommand(CLI::App& app, Action& action);

}  // namespace larder::tool
