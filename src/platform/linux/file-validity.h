// For how long a file's times, size and identity prove that its content is unchanged. The answer
// depends on the file system and on how it is mounted.
#pragma once

#include <sys/stat.h>
#include <sys/vfs.h>

#include <cstdint>

namespace larder::platform {

// Bits of statx's mask that the C library's headers may not have yet.
inline constexpr std::uint32_t kMountNumber = 0x4000;  // STATX_MNT_ID_UNIQUE, since Linux 6.8
inline constexpr std::uint32_t kSubvolume = 0x8000;    // STATX_SUBVOL, since Linux 6.10

// The mask with which statx must be called for the functions below.
inline constexpr std::uint32_t kStatusMask = STATX_BASIC_STATS | kMountNumber | kSubvolume;

// What the change times on a mount prove.
enum class Trust : std::uint64_t { kUnknown, kNone, kMount, kAlways };

// The rule for a mount, without the file's own times. status: of any file on the mount.
Trust TrustIn(const struct statfs& system, const struct statx& status) noexcept;

// The value for FileInfo::validity. trust: of the file's mount.
std::uint64_t ValidityOf(const struct statx& status, Trust trust) noexcept;

// Whether the kernel reports a number of the mount that it won't reuse until the next boot.
bool HasMountNumber(const struct statx& status) noexcept;

// The trust in the file's mount if this process has found it out already, otherwise kUnknown.
Trust KnownTrust(const struct statx& status) noexcept;

// Finds out the trust in the mount and remembers it if it can't change. status: of the descriptor.
Trust FindTrust(int descriptor, const struct statx& status) noexcept;

// The trust in the mount that the path leads to, for kernels without mount numbers.
Trust TrustAt(const char* path, const struct statx& status) noexcept;

// The file system, and the subvolume if there are any.
std::uint64_t VolumeOf(const struct statx& status) noexcept;

}  // namespace larder::platform
