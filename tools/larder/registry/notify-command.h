// larder notify: the installer's signal, given as an installer does, or taken as a client does.
#pragma once

#include "tools/larder/cli/command.h"

namespace larder::tool {

void AddNotifyCommand(const Command& top);

}  // namespace larder::tool
