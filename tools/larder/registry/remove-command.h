// larder remove: takes away what an installation left on the machine.
#pragma once

#include "tools/larder/cli/command.h"

namespace larder::tool {

void AddRemoveCommand(const Command& top);

}  // namespace larder::tool
