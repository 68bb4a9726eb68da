// The system's times, in seconds and nanoseconds since 1970, as file times.
#pragma once

#include <time.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace larder::platform {

// A time outside the range of file times becomes the nearest one in it.
inline std::uint64_t FileTimeFrom(const timespec& time) {
  constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
  constexpr std::int64_t kTicksPerSecond = 10'000'000;
  constexpr std::int64_t kLatest =
      std::numeric_limits<std::int64_t>::max() / kTicksPerSecond - kSecondsFrom1601To1970 - 1;
  const std::int64_t seconds =
      std::clamp<std::int64_t>(time.tv_sec, -kSecondsFrom1601To1970, kLatest);
  return static_cast<std::uint64_t>((seconds + kSecondsFrom1601To1970) * kTicksPerSecond +
                                    time.tv_nsec / 100);
}

}  // namespace larder::platform
