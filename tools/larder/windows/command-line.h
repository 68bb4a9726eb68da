// The command line that passes a program its arguments, quoted for the C runtime's parser.
#pragma once

#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::tool {

// arguments: UTF-8, without the program's name. kNoUnicodeTranslation if one isn't UTF-8.
[[nodiscard]] platform::Code CommandLineOf(const WideString& program,
                                           const std::vector<std::string>& arguments,
                                           WideString& line);

}  // namespace larder::tool
