#include "platform/linux/file-validity.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstring>

#include "platform/file.h"
#include "platform/linux/file-descriptor.h"

namespace larder::platform {
namespace {

// A field of statx, by its offset: the C library's headers may not have it yet.
std::uint64_t FieldAt(const struct statx& status, std::size_t offset) noexcept {
  std::uint64_t value = 0;
  std::memcpy(&value, reinterpret_cast<const char*>(&status) + offset, sizeof value);
  return value;
}

// The number of the mount, which the kernel doesn't reuse before the next boot; 0 if it reports
// none.
std::uint64_t MountNumberOf(const struct statx& status) noexcept {
  return (status.stx_mask & kMountNumber) != 0 ? FieldAt(status, 0x90) : 0;
}

std::uint64_t SubvolumeOf(const struct statx& status) noexcept {
  return (status.stx_mask & kSubvolume) != 0 ? FieldAt(status, 0xA0) : 0;
}

std::uint64_t ReadBootId() noexcept {
  const FileDescriptor file(open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC));
  std::array<char, 36> text{};
  if (!file.IsOpen() || read(file.Get(), text.data(), text.size()) != ssize_t{text.size()})
    return 0;
  std::uint64_t id = 0;
  for (const char digit : text) {
    if (digit == '-') continue;
    const int value = digit <= '9' ? digit - '0' : digit - 'a' + 10;
    id = (id << 4 | id >> 60) ^ static_cast<std::uint64_t>(value);
  }
  return id;
}

// 0 if the system doesn't report it. Threads that come first at the same time all read it.
std::uint64_t BootId() noexcept {
  static std::atomic<std::uint64_t> known;
  std::uint64_t id = known.load(std::memory_order_relaxed);
  if (id != 0) return id;
  id = ReadBootId();
  known.store(id, std::memory_order_relaxed);
  return id;
}

// The file systems on the list were tested: this kernel's clock sets the change time at every
// change, and a lease is refused while a writable mapping exists. The others are not on it:
// - tmpfs: buffers registered with io_uring can change a file after its mapping has gone
// - overlayfs: it grants a lease while the file is mapped for writing
// - NFS, SMB, FUSE and the like: a server or a program sets the times
// - FAT and exFAT: they have no change time
Trust TrustInType(std::uint32_t type, bool hasSubvolume) noexcept {
  switch (type) {
    case EXT4_SUPER_MAGIC:  // and ext2, ext3
    case XFS_SUPER_MAGIC:
      return Trust::kAlways;
    case BTRFS_SUPER_MAGIC:  // subvolumes have the same file numbers and reuse device numbers
      return hasSubvolume ? Trust::kAlways : Trust::kNone;
    case SQUASHFS_MAGIC:  // whoever made the image chose the times
    case EROFS_SUPER_MAGIC_V1:
      return Trust::kMount;
    default:
      return Trust::kNone;
  }
}

// The root file system is mounted read-only at first.
bool MayBecomeWritable(const struct statfs& system) noexcept {
  const auto type = static_cast<std::uint32_t>(system.f_type);
  return (system.f_flags & ST_RDONLY) != 0 && TrustInType(type, true) == Trust::kAlways;
}

constexpr unsigned kTrustBits = 2;
constexpr std::uint64_t kTrustMask = 3;

// A mount's number, shifted, and its Trust. A number is never reused, and a mount never gets
// another file system, so an entry stays right: if the mount is made read-only or nosuid later, the
// files are still those whose changes this kernel has stamped; if it is made suid, kMount is merely
// stricter than necessary. Two mounts with the same slot replace each other.
std::array<std::atomic<std::uint64_t>, 64> KnownMounts;

std::atomic<std::uint64_t>& SlotOf(std::uint64_t mount) noexcept {
  return KnownMounts[mount % KnownMounts.size()];
}

}  // namespace

Trust TrustIn(const struct statfs& system, const struct statx& status) noexcept {
  const Trust trust =
      TrustInType(static_cast<std::uint32_t>(system.f_type), SubvolumeOf(status) != 0);
  // A mount that ignores set-user-ID bits may be a medium that a user has prepared elsewhere.
  const bool isForeign = (system.f_flags & (ST_RDONLY | ST_NOSUID)) != 0;
  return trust == Trust::kAlways && isForeign ? Trust::kMount : trust;
}

std::uint64_t ValidityOf(const struct statx& status, Trust trust) noexcept {
  if (trust == Trust::kNone || trust == Trust::kUnknown) return kNeverValid;
  // A clock hardly ever stamps a whole second: the tool that created the image has set the time, or
  // the file system stores no fractions.
  const bool isStamped = status.stx_ctime.tv_nsec != 0;
  if (trust == Trust::kAlways && isStamped) return kAlwaysValid;
  const std::uint64_t mount = MountNumberOf(status);
  const std::uint64_t boot = BootId();
  if (mount == 0 || boot == 0) return kNeverValid;
  return (boot ^ mount) | std::uint64_t{1} << 63;
}

bool HasMountNumber(const struct statx& status) noexcept { return MountNumberOf(status) != 0; }

Trust KnownTrust(const struct statx& status) noexcept {
  const std::uint64_t mount = MountNumberOf(status);
  const std::uint64_t slot = SlotOf(mount).load(std::memory_order_relaxed);
  return mount != 0 && slot >> kTrustBits == mount ? static_cast<Trust>(slot & kTrustMask)
                                                   : Trust::kUnknown;
}

Trust FindTrust(int descriptor, const struct statx& status) noexcept {
  struct statfs system {};
  if (fstatfs(descriptor, &system) != 0) return Trust::kUnknown;
  const Trust trust = TrustIn(system, status);
  const std::uint64_t mount = MountNumberOf(status);
  if (mount != 0 && !MayBecomeWritable(system)) {
    SlotOf(mount).store(mount << kTrustBits | static_cast<std::uint64_t>(trust),
                        std::memory_order_relaxed);
  }
  return trust;
}

Trust TrustAt(const char* path, const struct statx& status) noexcept {
  struct statfs system {};
  return statfs(path, &system) == 0 ? TrustIn(system, status) : Trust::kUnknown;
}

std::uint64_t VolumeOf(const struct statx& status) noexcept {
  return makedev(status.stx_dev_major, status.stx_dev_minor) ^ SubvolumeOf(status) << 32;
}

}  // namespace larder::platform
