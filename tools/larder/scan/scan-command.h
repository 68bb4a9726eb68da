// larder scan: the facts of all files below folders. A client like any other: exports only.
#pragma once

#include "tools/larder/cli/command.h"

namespace larder::tool {

void AddScanCommand(const Command& top);

}  // namespace larder::tool
