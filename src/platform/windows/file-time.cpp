#include "platform/file-time.h"

#include <windows.h>

namespace larder::platform {
namespace {

std::uint64_t TimeOf(const FILETIME& time) {
  return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

}  // namespace

std::uint64_t CurrentFileTime() noexcept {
  FILETIME now;
  GetSystemTimePreciseAsFileTime(&now);
  return TimeOf(now);
}

// NTFS stamps files with the system time, which advances with the clock's tick.
std::uint64_t FileStampTime() noexcept {
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  return TimeOf(now);
}

}  // namespace larder::platform
