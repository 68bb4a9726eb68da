// The system's texts for its codes.
#pragma once

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// The text of a code as the system gives it, ending in CR LF; empty when it has none.
[[nodiscard]] WideString SystemMessage(Code code);

}  // namespace larder::platform
