#include "platform/folder-access.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include "platform/linux/file-descriptor.h"
#include "platform/linux/native.h"
#include "platform/message.h"

namespace larder::platform {
namespace {

constexpr mode_t kProtectedMode = 0755;
constexpr mode_t kGroupMayWrite = S_IWGRP;
constexpr mode_t kOthersMayWrite = S_IWOTH;

std::string ModeText(mode_t mode) {
  std::array<char, 8> digits;
  snprintf(digits.data(), digits.size(), "%04o", mode & 07777u);
  return digits.data();
}

// Ownership and permissions, whatever the type is.
std::string AccessDistrust(const struct stat& status) {
  if (status.st_uid != 0 && status.st_uid != geteuid()) {
    return "belongs to user " + std::to_string(status.st_uid) +
           ", who is neither root nor the user of this process";
  }
  if ((status.st_mode & kOthersMayWrite) != 0) {
    return "may be written by every user (mode " + ModeText(status.st_mode) + ")";
  }
  if ((status.st_mode & kGroupMayWrite) != 0) {
    return "may be written by other users (mode " + ModeText(status.st_mode) + ")";
  }
  return {};
}

std::string NoInspection(int error) {
  return "can't be inspected: " + SystemReason(CodeFromErrno(error));
}

bool IsMissing(int error) { return error == ENOENT || error == ENOTDIR; }

// The status of the entry itself, also if it is a link. False if there is none; reason says why if
// that isn't known.
bool ReadStatus(const WideString& path, struct stat& status, std::string& reason) {
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) {
    reason = "can't be inspected: " + SystemReason(code);
    return false;
  }
  // With a trailing slash the system would follow a link.
  while (native.size() > 1 && native.ends_with('/')) native.pop_back();
  if (lstat(native.c_str(), &status) == 0) return true;
  if (!IsMissing(errno)) reason = NoInspection(errno);
  return false;
}

// Whether others could remove or rename what isn't theirs in a folder.
std::string ReplacementDistrust(const std::string& folder) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0) return IsMissing(errno) ? "" : NoInspection(errno);
  if ((status.st_mode & S_ISVTX) != 0) status.st_mode &= ~(kGroupMayWrite | kOthersMayWrite);
  return AccessDistrust(status);
}

}  // namespace

std::string FolderDistrust(const WideString& folder, OtherUsers) {
  struct stat status {};
  std::string reason;
  if (!ReadStatus(folder, status, reason)) return reason;
  if (S_ISLNK(status.st_mode)) return "is a symbolic link";
  return S_ISDIR(status.st_mode) ? AccessDistrust(status) : "isn't a folder";
}

std::string FileDistrust(const WideString& file) {
  struct stat status {};
  std::string reason;
  if (!ReadStatus(file, status, reason)) return reason;
  // Only a regular file has content to protect, and a link always has all permissions.
  if (!S_ISREG(status.st_mode)) status.st_mode = 0;
  return AccessDistrust(status);
}

// The machine root itself may be shared; only what is below it is the library's.
std::string CommonFolderDistrust(const WideString& common) {
  std::string native;
  if (const Code code = NativePath(common, native); code != kSuccess) {
    return "can't be inspected: " + SystemReason(code);
  }
  std::string reason = ReplacementDistrust(native.substr(0, native.rfind('/')));
  if (!reason.empty()) return "is in a folder that " + reason;
  return ReplacementDistrust(native);
}

Code MakeProtectedFolder(const WideString& path, Readers readers) {
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  if (mkdir(native.c_str(), kProtectedMode) == 0) return ProtectFolder(path, readers);
  return errno == ENOENT ? kPathNotFound : CodeFromErrno(errno);
}

Code ProtectFolder(const WideString& path, Readers) {
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  const FileDescriptor folder(open(native.c_str(), kFlags));
  if (!folder.IsOpen()) return CodeFromErrno(errno);
  return fchmod(folder.Get(), kProtectedMode) == 0 ? kSuccess : CodeFromErrno(errno);
}

Code QueryCreation(const WideString& folder, std::uint64_t& freeBytes) {
  std::string native;
  if (const Code code = NativePath(folder, native); code != kSuccess) return code;
  if (faccessat(AT_FDCWD, native.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
    return CodeFromErrno(errno);
  struct statvfs volume {};
  if (statvfs(native.c_str(), &volume) != 0) return CodeFromErrno(errno);
  const auto blocks = geteuid() == 0 ? volume.f_bfree : volume.f_bavail;
  freeBytes = std::uint64_t{blocks} * volume.f_frsize;
  return kSuccess;
}

}  // namespace larder::platform
