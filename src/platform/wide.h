// Wide text: 16-bit units on every system.
#pragma once

#include <larder/records.h>

#include <string>
#include <string_view>

namespace larder {

using WideString = std::basic_string<LarderWideChar>;
using WideView = std::basic_string_view<LarderWideChar>;

}  // namespace larder
