#include "platform/file-time.h"

#include <linux/magic.h>
#include <sys/vfs.h>

#include <string>

#include "platform/linux/native.h"

namespace larder::platform {
namespace {

// Whether the file system is known to take its times from this kernel's clock, with a resolution of
// the clock's. (Some of these can be configured to store whole seconds.)
bool HasFineTimes(const struct statfs& system) {
  constexpr std::uint32_t kZfs = 0x2FC12FC1;
  switch (static_cast<std::uint32_t>(system.f_type)) {
    case EXT4_SUPER_MAGIC:
    case XFS_SUPER_MAGIC:
    case BTRFS_SUPER_MAGIC:
    case F2FS_SUPER_MAGIC:
    case OVERLAYFS_SUPER_MAGIC:
    case TMPFS_MAGIC:
    case RAMFS_MAGIC:
    case kZfs:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::uint64_t CurrentFileTime() noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return FileTimeFrom(now);
}

std::uint64_t FileTimeGranularity(const WideString& path) {
  constexpr std::uint64_t kTick = 100'000;  // 10 ms, the longest tick of a kernel's clock
  constexpr std::uint64_t kCoarse = 20'000'000;
  std::string native;
  struct statfs system {};
  if (NativePath(path, native) != kSuccess || statfs(native.c_str(), &system) != 0) return kCoarse;
  return HasFineTimes(system) ? kTick : kCoarse;
}

}  // namespace larder::platform
