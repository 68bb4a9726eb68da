// What a module needs to be loaded.
#pragma once

#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::tool {

// Adds the names (UTF-8) of the files that the module at a path depends on, directly or through
// another module, and that the system's search doesn't find. The module's own code isn't run, but
// that of its dependencies may be: call this in a process of its own, with one thread. Fails with a
// code if the file can't be read.
[[nodiscard]] platform::Code FindMissingDependencies(const WideString& path,
                                                     std::vector<std::string>& names);

}  // namespace larder::tool
