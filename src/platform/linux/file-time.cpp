#include "platform/file-time.h"

#include "platform/linux/native.h"

namespace larder::platform {
namespace {

std::uint64_t TimeOf(clockid_t clock) noexcept {
  timespec now{};
  clock_gettime(clock, &now);
  return FileTimeFrom(now);
}

}  // namespace

std::uint64_t CurrentFileTime() noexcept { return TimeOf(CLOCK_REALTIME); }

std::uint64_t FileStampTime() noexcept { return TimeOf(CLOCK_REALTIME_COARSE); }

}  // namespace larder::platform
