// larder status: what is on this machine, and what is wrong with it.
#pragma once

#include "tools/larder/cli/command.h"

namespace larder::tool {

void AddStatusCommand(const Command& top);

}  // namespace larder::tool
