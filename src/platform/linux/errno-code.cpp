#include "platform/linux/native.h"

#include <cerrno>

namespace larder::platform {

Code CodeFromErrno(int error) noexcept {
  switch (error) {
    case ENOENT:
      return kFileNotFound;
    case ENOTDIR:
      return kPathNotFound;
    case EMFILE:
    case ENFILE:
      return kTooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
      return kAccessDenied;
    case EBADF:
      return kInvalidHandle;
    case ENOMEM:
      return kNotEnoughMemory;
    case ETXTBSY:
    case EBUSY:
      return kSharingViolation;
    case EINVAL:
      return kInvalidParameter;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return kDiskFull;
    case ENOTEMPTY:
      return kDirectoryNotEmpty;
    case EEXIST:
      return kAlreadyExists;
    case ENAMETOOLONG:
      return kNameTooLong;
    case EIO:
      return kIoDevice;
    case ELOOP:
      return kCannotResolveName;
    default:
      return kGeneralFailure;
  }
}

}  // namespace larder::platform
