// File times: 100 ns units since 1601-01-01 UTC.
#pragma once

#include <cstdint>

namespace larder::platform {

// The system's clock.
[[nodiscard]] std::uint64_t CurrentFileTime() noexcept;

// The clock that stamps files: no file that changes after the call gets a change time before the
// result. It may be some milliseconds behind CurrentFileTime.
[[nodiscard]] std::uint64_t FileStampTime() noexcept;

}  // namespace larder::platform
