// What the sources for Linux share: codes, times, names and paths as the system has them.
#pragma once

#include <time.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

// The code for a value of errno; never kSuccess.
[[nodiscard]] Code CodeFromErrno(int error) noexcept;

// The system's time as a file time. A time outside the range of file times becomes the nearest one
// in it.
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

// kInvalidName for a path with a NUL in it.
[[nodiscard]] Code NativePath(WideView path, std::string& native);

// kNoUnicodeTranslation if the path isn't UTF-8; kInvalidName if it has a backslash in a name,
// since NativePath would return another path for it.
[[nodiscard]] Code WidePath(const std::string& native, WideString& path);

enum class Dots { kFirst, kAll };

// The file name under which an object with this name is stored: UTF-8, with control characters,
// "/", "%" and the given dots as "%" and two hexadecimal digits. It never starts with a dot.
[[nodiscard]] std::string FileNameOf(WideView name, Dots escaped);
// The reverse; false for a file name that FileNameOf doesn't return.
[[nodiscard]] bool NameOfFile(std::string_view fileName, Dots escaped, WideString& name);

// The directory that is used in place of "/" for the library's own folders: the registry, the
// events and the common folders. It is the value of the environment variable LARDER_ROOT, without a
// trailing slash; so it is empty for "/" itself. The variable is read by each call, and ignored in
// a program that runs with raised privileges.
[[nodiscard]] std::string MachineRoot();

}  // namespace larder::platform
