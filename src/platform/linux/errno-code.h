// The one place where errno becomes a code.
#pragma once

#include "platform/code.h"

namespace larder::platform {

// Never kSuccess, whatever the error.
[[nodiscard]] Code CodeFromErrno(int error) noexcept;

}  // namespace larder::platform
