// The folder that stands for "/" in the library's own paths.
#pragma once

#include <string>

namespace larder::tool {

// Why the library finds nothing there; empty if the folder can be used, as always on Windows.
// The sources are linux/machine-root.cpp and windows/machine-root.cpp.
[[nodiscard]] std::string MachineRootFault();

}  // namespace larder::tool
