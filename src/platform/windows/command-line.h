// The one text in which a program gets its arguments, as the C runtime takes it apart.
#pragma once

#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// arguments: UTF-8, without the program's name; kNoUnicodeTranslation for one that isn't.
[[nodiscard]] Code CommandLineOf(const WideString& program,
                                 const std::vector<std::string>& arguments, WideString& line);

}  // namespace larder::platform
