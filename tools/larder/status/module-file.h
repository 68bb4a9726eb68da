// What a module's file shows before any of its code runs.
#pragma once

#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::tool {

// Whether there is anything at the path, a folder included.
bool IsThere(const WideString& path);

// Why no process of this system can load the file, judged by the headers of the file ("it is a
// 32-bit module"). Empty if it has the right form, or can't be read.
std::string DescribeForeignModule(const WideString& path);

// Adds the names (UTF-8) of the files that the module depends on, directly or through another
// module, and that the system's search doesn't find. The module's own code isn't run, but that of
// its dependencies may be: call this in a process of its own, with one thread. Fails with a code if
// the file can't be read. The sources are linux/dependencies.cpp and windows/dependencies.cpp.
[[nodiscard]] platform::Code FindMissingDependencies(const WideString& path,
                                                     std::vector<std::string>& names);

// Why OpenModule failed with a code for the module. Adds the names of missing dependencies; the
// process must have one thread.
std::string DescribeLoadFault(const WideString& path, platform::Code code,
                              std::vector<std::string>& missing);

}  // namespace larder::tool
