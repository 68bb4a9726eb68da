// File times: 100 ns units since 1601-01-01 UTC.
#pragma once

#include <cstdint>

#include "platform/wide.h"

namespace larder::platform {

// The system's clock.
[[nodiscard]] std::uint64_t CurrentFileTime() noexcept;

// How far apart two changes of the file at a path must be to have different times for certain. It
// depends on the file system.
[[nodiscard]] std::uint64_t FileTimeGranularity(const WideString& path);

}  // namespace larder::platform
