// What a module needs to be loaded.
#pragma once

#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// Adds what the module at a path needs and the system's search doesn't find: file names in UTF-8,
// also of what is needed by the modules that it needs. The module itself isn't started, but what it
// depends on may be, so this is for a process of its own, and for one thread. A code when the file
// can't be looked into.
[[nodiscard]] Code FindMissingDependencies(const WideString& path, std::vector<std::string>& names);

}  // namespace larder::platform
