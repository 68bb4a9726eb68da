// The system's texts for its codes.
#pragma once

#include <string>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// The text of a code as the system gives it, ending in CR LF; empty when it has none.
[[nodiscard]] WideString SystemMessage(Code code);

// A code for messages that a person reads, in UTF-8: its text, without the line end, and its number
// ("Access is denied. (5)"), or "code 5" if the system has no text for it.
[[nodiscard]] std::string SystemReason(Code code);

}  // namespace larder::platform
