// What the tool says on standard error. All texts are UTF-8.
#pragma once

#include <string>
#include <string_view>

#include "platform/code.h"

namespace larder::tool {

// Prints "larder: <text>" as one line, control characters made visible.
void PrintError(std::string_view text);

// A result of the library in the same form.
std::string ResultReason(int result);

// True for kSuccess; otherwise "cannot <what>: <reason>" has been printed.
[[nodiscard]] bool Succeeded(const std::string& what, platform::Code code);

}  // namespace larder::tool
