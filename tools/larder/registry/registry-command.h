// larder registry list | get | set | delete: the library's part of the machine's registry.
#pragma once

#include "tools/larder/cli/command.h"

namespace larder::tool {

void AddRegistryCommand(const Command& top);

}  // namespace larder::tool
