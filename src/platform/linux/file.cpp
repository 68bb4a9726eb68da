#include "platform/file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "platform/linux/errno-code.h"
#include "platform/linux/file-descriptor.h"
#include "platform/linux/kernel-object.h"
#include "platform/linux/native-path.h"

namespace larder::platform {
namespace {

struct FileObject final : KernelObject {
  explicit FileObject(FileDescriptor opened) noexcept : descriptor(std::move(opened)) {}
  FileDescriptor descriptor;
};

FileKind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileKind::kRegular;
  return S_ISDIR(mode) ? FileKind::kDirectory : FileKind::kOther;
}

// 100 ns since 1601 from the system's time since 1970; what doesn't fit is brought to the nearer
// end.
std::uint64_t FileTime(const timespec& time) {
  constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
  constexpr std::int64_t kTicks = 10'000'000;
  constexpr std::int64_t kLatest =
      std::numeric_limits<std::int64_t>::max() / kTicks - kSecondsFrom1601To1970 - 1;
  const std::int64_t seconds =
      std::clamp<std::int64_t>(time.tv_sec, -kSecondsFrom1601To1970, kLatest);
  return static_cast<std::uint64_t>((seconds + kSecondsFrom1601To1970) * kTicks +
                                    time.tv_nsec / 100);
}

FileInfo InfoOf(const struct stat& status) {
  return {.size = static_cast<std::uint64_t>(status.st_size),
          .lastModified = FileTime(status.st_mtim),
          .volume = status.st_dev,
          .index = status.st_ino,
          .changed = FileTime(status.st_ctim)};
}

// Whether the file system is known to keep times that its own kernel's clock gives, and finely.
// (Some of these can be made to keep whole seconds.)
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

FileDescriptor OpenToRead(const char* path) {
  int descriptor = -1;
  do {
    descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  } while (descriptor < 0 && errno == EINTR);
  return FileDescriptor(descriptor);
}

}  // namespace

Code OpenFileToRead(const WideString& path, Handle& file, FileKind& kind) {
  file = InvalidHandle();
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  struct stat status {};
  // Looked at before it is opened, since opening a FIFO or a device can have effects of its own.
  if (stat(native.c_str(), &status) != 0) return CodeFromErrno(errno);
  if (!S_ISREG(status.st_mode)) {
    kind = KindOf(status.st_mode);
    return kSuccess;
  }
  FileDescriptor descriptor = OpenToRead(native.c_str());
  if (!descriptor.IsOpen() && errno == EWOULDBLOCK) return kSharingViolation;  // another's lease
  if (!descriptor.IsOpen() || fstat(descriptor.Get(), &status) != 0) return CodeFromErrno(errno);
  kind = KindOf(status.st_mode);
  if (kind != FileKind::kRegular) return kSuccess;
  static_cast<void>(posix_fadvise(descriptor.Get(), 0, 0, POSIX_FADV_SEQUENTIAL));
  file = new FileObject(std::move(descriptor));
  return kSuccess;
}

Code QueryFileInfo(Handle file, FileInfo& info) noexcept {
  const auto* object = ObjectOf<FileObject>(file);
  if (object == nullptr) return kInvalidHandle;
  struct stat status {};
  if (fstat(object->descriptor.Get(), &status) != 0) return CodeFromErrno(errno);
  info = InfoOf(status);
  return kSuccess;
}

Code QueryPathInfo(const WideString& path, FileInfo& info, FileKind& kind) {
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  struct stat status {};
  if (stat(native.c_str(), &status) != 0) return CodeFromErrno(errno);
  kind = KindOf(status.st_mode);
  if (kind == FileKind::kRegular) info = InfoOf(status);
  return kSuccess;
}

std::uint64_t FileTimeGranularity(const WideString& path) {
  constexpr std::uint64_t kTick = 100'000;  // 10 ms, that of the slowest kernel's clock
  constexpr std::uint64_t kCoarse = 20'000'000;
  std::string native;
  struct statfs system {};
  if (NativePath(path, native) != kSuccess || statfs(native.c_str(), &system) != 0) return kCoarse;
  return HasFineTimes(system) ? kTick : kCoarse;
}

std::uint64_t MaxFileSize() noexcept {
  rlimit limit{};
  const bool isSet = getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
  return isSet ? limit.rlim_cur : std::numeric_limits<std::uint64_t>::max();
}

std::uint64_t CurrentFileTime() noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return FileTime(now);
}

WideString FoldCase(WideString path) { return path; }

Code ReadNext(Handle file, void* buffer, std::size_t size, std::size_t& bytesRead) noexcept {
  const auto* object = ObjectOf<FileObject>(file);
  if (object == nullptr) return kInvalidHandle;
  ssize_t result = -1;
  do {
    result = read(object->descriptor.Get(), buffer, size);
  } while (result < 0 && errno == EINTR);
  if (result < 0) return CodeFromErrno(errno);
  bytesRead = static_cast<std::size_t>(result);
  return kSuccess;
}

Code ReadAt(Handle file, std::uint64_t offset, void* buffer, std::size_t size,
            std::size_t& bytesRead) noexcept {
  const auto* object = ObjectOf<FileObject>(file);
  if (object == nullptr) return kInvalidHandle;
  std::size_t total = 0;
  while (total < size) {
    const ssize_t result = pread(object->descriptor.Get(), static_cast<char*>(buffer) + total,
                                 size - total, static_cast<off_t>(offset + total));
    if (result == 0) break;
    if (result > 0) {
      total += static_cast<std::size_t>(result);
    } else if (errno != EINTR) {
      return CodeFromErrno(errno);
    }
  }
  bytesRead = total;
  return kSuccess;
}

}  // namespace larder::platform
