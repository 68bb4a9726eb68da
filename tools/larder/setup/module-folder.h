// Where this installation has the provider modules.
#pragma once

#include <string>
#include <vector>

#include "platform/wide.h"

namespace larder::tool {

// Returns the folder of this program if it has one of these files, otherwise the folder that an
// installation has for the modules, relative to this program. With a backslash at its end, as
// szLocation needs it. Empty if neither folder has one; fault then has the reason.
[[nodiscard]] WideString FindModuleFolder(const std::vector<WideString>& files, std::string& fault);

}  // namespace larder::tool
