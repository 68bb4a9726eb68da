// Why the system refused something, for a text that a person reads.
#pragma once

#include <string>

#include "platform/code.h"

namespace larder::feed {

// The system's own text of a code and the code itself: "Access is denied. (code 5)".
std::string SystemReason(platform::Code code);

}  // namespace larder::feed
