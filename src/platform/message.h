// The system's texts for its codes.
#pragma once

#include <string>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// The text of a code as the system gives it, ending in CR LF; empty when it has none.
[[nodiscard]] WideString SystemMessage(Code code);

// The same for messages that a person reads: in UTF-8, without the line end.
[[nodiscard]] std::string SystemText(Code code);

// The text and the number, "Access is denied. (5)", or "code 5" if the system has no text.
[[nodiscard]] std::string SystemReason(Code code);

}  // namespace larder::platform
