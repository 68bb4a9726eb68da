// The system's texts for result codes.
#pragma once

#include <string>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// The system's text for a code, with CR LF at its end; empty if it has none.
[[nodiscard]] WideString SystemMessage(Code code);

// The reason of a failure for messages that a person reads, in UTF-8: the text and the number,
// "Access is denied. (5)", or "code 5" if the system has no text.
[[nodiscard]] inline std::string SystemReason(Code code) {
  std::string text = Utf8FromWide(SystemMessage(code));
  text.erase(text.find_last_not_of(" \r\n") + 1);
  const std::string number = std::to_string(code);
  return text.empty() ? "code " + number : text + " (" + number + ")";
}

}  // namespace larder::platform
