// The lock of a whole file. It belongs to the open file: it excludes other handles of this process,
// survives the closing of other handles, and is shared with a forked child that has a copy of the
// descriptor. So it is released explicitly, or when the last copy is closed.
#pragma once

#include <fcntl.h>
#include <stdio.h>

#include <cerrno>

#include "platform/linux/native.h"

namespace larder::platform {

inline struct flock WholeFile(short type) noexcept {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;  // with a length of 0: the whole file
  return lock;
}

// type: F_WRLCK or F_UNLCK. Never waits: kSharingViolation if the lock is held.
inline Code SetFileLock(int descriptor, short type) noexcept {
  struct flock lock = WholeFile(type);
  if (fcntl(descriptor, F_OFD_SETLK, &lock) == 0) return kSuccess;
  return errno == EAGAIN || errno == EACCES ? kSharingViolation : CodeFromErrno(errno);
}

// False also if the file system has no locks.
inline bool IsLockedByOthers(int descriptor) noexcept {
  struct flock lock = WholeFile(F_WRLCK);
  return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace larder::platform
