// larder query: what a provider knows about files. A client like any other: exports only.
#pragma once

#include <CLI/CLI.hpp>

#include "command.h"

namespace larder::tool {

void AddQueryCommand(CLI::App& app, Action& action);

}  // namespace larder::tool
