// The system's texts for result codes.
#pragma once

#include <string>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// The system's text for a code, with CR LF at its end; empty if it has none.
[[nodiscard]] WideString SystemMessage(Code code);

// The same for messages that a person reads: in UTF-8, without the line end.
[[nodiscard]] std::string SystemText(Code code);

// The text and the number, "Access is denied. (5)", or "code 5" if the system has no text.
[[nodiscard]] std::string SystemReason(Code code);

}  // namespace larder::platform
