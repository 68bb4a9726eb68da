#include "tools/larder/status/machine-root.h"

namespace larder::tool {

std::string MachineRootFault() { return {}; }

}  // namespace larder::tool
