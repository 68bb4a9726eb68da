// System errors as result codes.
#pragma once

#include "platform/code.h"

namespace larder::platform {

// The code for a value of errno; never kSuccess.
[[nodiscard]] Code CodeFromErrno(int error) noexcept;

}  // namespace larder::platform
