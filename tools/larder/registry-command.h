// larder registry list | get | set | delete: the library's part of the machine's registry.
#pragma once

#include <CLI/CLI.hpp>

#include "command.h"

namespace larder::tool {

void AddRegistryCommand(CLI::App& app, Action& action);

}  // namespace larder::tool
