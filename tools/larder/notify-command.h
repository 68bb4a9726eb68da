// larder notify: the installer's signal, given as an installer does, or taken as a client does.
#pragma once

#include <CLI/CLI.hpp>

#include "command.h"

namespace larder::tool {

void AddNotifyCommand(CLI::App& app, Action& action);

}  // namespace larder::tool
