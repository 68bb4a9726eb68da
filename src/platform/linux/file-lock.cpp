#include "platform/file-lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/linux/file-descriptor.h"
#include "platform/linux/kernel-object.h"
#include "platform/linux/native.h"

namespace larder::platform {
namespace {

Code SetLock(Handle file, short type) noexcept {
  const auto* object = ObjectOf<FileObject>(file);
  if (object == nullptr) return kInvalidHandle;
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;  // with a length of 0: the whole file
  if (fcntl(object->descriptor.Get(), F_OFD_SETLK, &lock) == 0) return kSuccess;
  return errno == EAGAIN || errno == EACCES ? kSharingViolation : CodeFromErrno(errno);
}

}  // namespace

Code OpenLockFile(const WideString& path, Handle& file) {
  file = InvalidHandle();
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  constexpr int kFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  FileDescriptor descriptor(open(native.c_str(), kFlags, 0660));
  if (!descriptor.IsOpen()) return CodeFromErrno(errno);
  file = new FileObject(std::move(descriptor));
  return kSuccess;
}

Code TryLockFile(Handle file) noexcept { return SetLock(file, F_WRLCK); }

Code UnlockFile(Handle file) noexcept { return SetLock(file, F_UNLCK); }

}  // namespace larder::platform
