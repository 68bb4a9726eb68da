// larder setup: the registry of a machine on which the modules lie beside this program.
#pragma once

#include "tools/larder/cli/command.h"

namespace larder::tool {

void AddSetupCommand(const Command& top);

}  // namespace larder::tool
