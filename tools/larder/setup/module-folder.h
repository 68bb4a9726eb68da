// Where this installation has the provider modules.
#pragma once

#include <string>
#include <vector>

#include "platform/wide.h"

namespace larder::tool {

// The first folder that has one of these files: the one of this program, or the one that an
// installation has for the modules, relative to this program. With a backslash at its end, as
// szLocation needs it. If there is none, it is empty and fault says why.
[[nodiscard]] WideString FindModuleFolder(const std::vector<WideString>& files, std::string& fault);

}  // namespace larder::tool
