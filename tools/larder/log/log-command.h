// larder log on | off | path | list | show: the log that the library writes to disk.
#pragma once

#include "tools/larder/cli/command.h"

namespace larder::tool {

void AddLogCommand(const Command& top);

}  // namespace larder::tool
