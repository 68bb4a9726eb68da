// Stands in for the system's kernel objects and keeps the handles that are closed.
#pragma once

#include <vector>

#include "platform/handle.h"

namespace larder {

std::vector<platform::Handle>& ClosedHandles();

}  // namespace larder
