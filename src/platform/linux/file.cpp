#include "platform/file.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "platform/linux/file-descriptor.h"
#include "platform/linux/file-lease.h"
#include "platform/linux/file-lock.h"
#include "platform/linux/file-validity.h"
#include "platform/linux/kernel-object.h"
#include "platform/linux/native.h"

namespace larder::platform {
namespace {

FileKind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileKind::kRegular;
  return S_ISDIR(mode) ? FileKind::kDirectory : FileKind::kOther;
}

std::uint64_t TimeOf(const struct statx_timestamp& time) {
  return FileTimeFrom({.tv_sec = time.tv_sec, .tv_nsec = time.tv_nsec});
}

FileInfo InfoOf(const struct statx& status, Trust trust) {
  return {.size = status.stx_size,
          .lastModified = TimeOf(status.stx_mtime),
          .volume = VolumeOf(status),
          .index = status.stx_ino,
          .changed = TimeOf(status.stx_ctime),
          .validity = ValidityOf(status, trust)};
}

Code QueryDescriptor(int descriptor, FileInfo& info, FileKind& kind) noexcept {
  struct statx status {};
  if (statx(descriptor, "", AT_EMPTY_PATH, kStatusMask, &status) != 0) return CodeFromErrno(errno);
  kind = KindOf(status.stx_mode);
  if (kind != FileKind::kRegular) return kSuccess;
  Trust trust = KnownTrust(status);
  if (trust == Trust::kUnknown) trust = FindTrust(descriptor, status);
  info = InfoOf(status, trust);
  return kSuccess;
}

FileDescriptor OpenToRead(const char* path) {
  int descriptor = -1;
  do {
    descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  } while (descriptor < 0 && errno == EINTR);
  return FileDescriptor(descriptor);
}

Code CodeFromResult(int result) { return result == 0 ? kSuccess : CodeFromErrno(errno); }

// For file systems without RENAME_NOREPLACE.
Code RenameInSteps(const char* from, const char* to) {
  if (link(from, to) == 0) return CodeFromResult(unlink(from));
  if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS) return CodeFromErrno(errno);
  struct stat status {};
  if (lstat(to, &status) == 0) return kAlreadyExists;
  return errno == ENOENT ? CodeFromResult(rename(from, to)) : CodeFromErrno(errno);
}

Code SetLock(Handle file, short type) noexcept {
  const auto* object = ObjectOf<FileObject>(file);
  return object == nullptr ? kInvalidHandle : SetFileLock(object->descriptor.Get(), type);
}

}  // namespace

Code OpenFileToRead(const WideString& path, Handle& file, FileKind& kind) {
  file = InvalidHandle();
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  struct stat status {};
  // Before the file is opened, since opening a FIFO or a device can have side effects.
  if (stat(native.c_str(), &status) != 0) return CodeFromErrno(errno);
  if (!S_ISREG(status.st_mode)) {
    kind = KindOf(status.st_mode);
    return kSuccess;
  }
  FileDescriptor descriptor = OpenToRead(native.c_str());
  if (!descriptor.IsOpen() && errno == EWOULDBLOCK) return kSharingViolation;  // a lease
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
  FileKind kind{};
  return QueryDescriptor(object->descriptor.Get(), info, kind);
}

Code QueryPathInfo(const WideString& path, FileInfo& info, FileKind& kind) {
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  struct statx status {};
  if (statx(AT_FDCWD, native.c_str(), AT_NO_AUTOMOUNT, kStatusMask, &status) != 0) {
    return CodeFromErrno(errno);
  }
  kind = KindOf(status.stx_mode);
  if (kind != FileKind::kRegular) return kSuccess;
  Trust trust = KnownTrust(status);
  if (trust == Trust::kUnknown && HasMountNumber(status)) {
    // By a descriptor: what is remembered must be of this mount, wherever the path leads meanwhile.
    const FileDescriptor place(open(native.c_str(), O_PATH | O_CLOEXEC));
    if (place.IsOpen()) return QueryDescriptor(place.Get(), info, kind);
  } else if (trust == Trust::kUnknown) {
    // Faster, and good enough for what isn't remembered: even if the path leads to another mount
    // now, the file's device and times are those of its own.
    trust = TrustAt(native.c_str(), status);
  }
  info = InfoOf(status, trust);
  return kSuccess;
}

Code ProveNoWriter(Handle file) noexcept {
  const auto* object = ObjectOf<FileObject>(file);
  return object == nullptr ? kInvalidHandle : TryReadLease(object->descriptor.Get());
}

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

Code RemoveFile(const WideString& path) {
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  return CodeFromResult(unlink(native.c_str()));
}

Code RenameFile(const WideString& from, const WideString& to) {
  std::string nativeFrom;
  std::string nativeTo;
  if (const Code code = NativePath(from, nativeFrom); code != kSuccess) return code;
  if (const Code code = NativePath(to, nativeTo); code != kSuccess) return code;
  const char* source = nativeFrom.c_str();
  const char* target = nativeTo.c_str();
  if (renameat2(AT_FDCWD, source, AT_FDCWD, target, RENAME_NOREPLACE) == 0) return kSuccess;
  const bool isUnsupported = errno == EINVAL || errno == ENOSYS;
  return isUnsupported ? RenameInSteps(source, target) : CodeFromErrno(errno);
}

Code OpenLockFile(const WideString& path, Handle& file) {
  file = InvalidHandle();
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  constexpr int kFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  FileDescriptor descriptor(open(native.c_str(), kFlags, 0600));
  if (!descriptor.IsOpen()) return CodeFromErrno(errno);
  file = new FileObject(std::move(descriptor));
  return kSuccess;
}

Code TryLockFile(Handle file) noexcept { return SetLock(file, F_WRLCK); }

Code UnlockFile(Handle file) noexcept { return SetLock(file, F_UNLCK); }

}  // namespace larder::platform
