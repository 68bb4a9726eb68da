// larder status: what is on this machine, and what is wrong with it.
#pragma once

#include <CLI/CLI.hpp>

#include "command.h"

namespace larder::tool {

void AddStatusCommand(CLI::App& app, Action& action);

}  // namespace larder::tool
