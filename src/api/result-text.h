// The fixed texts of the results.
#pragma once

#include <cstdint>

#include "platform/wide.h"

namespace larder {

// The text of a result of larder.h, empty for any other code.
WideView ResultText(std::int32_t code) noexcept;

}  // namespace larder
