// larder query: what a provider knows about files. A client like any other: exports only.
#pragma once

#include "tools/larder/cli/command.h"

namespace larder::tool {

void AddQueryCommand(const Command& top);

}  // namespace larder::tool
