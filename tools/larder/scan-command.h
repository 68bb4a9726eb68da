// larder scan: the facts of all files below folders. A client like any other: exports only.
#pragma once

#include <CLI/CLI.hpp>

#include "command.h"

namespace larder::tool {

void AddScanCommand(CLI::App& app, Action& action);

}  // namespace larder::tool
