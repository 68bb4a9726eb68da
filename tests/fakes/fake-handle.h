// The platform group "handle", replaced by one that records the handles that are closed.
#pragma once

#include <vector>

#include "platform/handle.h"

namespace larder {

std::vector<platform::Handle>& ClosedHandles();

}  // namespace larder
