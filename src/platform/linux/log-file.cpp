#include "platform/log-file.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <utility>

#include "platform/linux/file-descriptor.h"
#include "platform/linux/file-lock.h"
#include "platform/linux/kernel-object.h"
#include "platform/linux/native.h"

namespace larder::platform {
namespace {

constexpr mode_t kFileMode = 0600;  // a log shows what its host does
constexpr int kFlags = O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;

// A log that one writer holds. Open-file-description locks, because flock can't be queried without
// taking the lock, and process-wide locks don't keep out a second logger of the same process.
struct LockedFileObject final : FileObject {
  using FileObject::FileObject;
  // A forked child may have a copy of the descriptor, which would keep the lock.
  ~LockedFileObject() override { SetFileLock(descriptor.Get(), F_UNLCK); }
};

// Others can neither have prepared the file nor reach it by another name.
bool IsOwnFile(const struct stat& status) {
  const bool isOwner = status.st_uid == geteuid() || status.st_uid == 0;
  return S_ISREG(status.st_mode) && isOwner && status.st_nlink <= 1;
}

bool IsOwnFile(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && IsOwnFile(status);
}

Code OpenLog(const WideString& path, int access, FileDescriptor& file) {
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  file = FileDescriptor(open(native.c_str(), access | kFlags | O_CREAT | O_EXCL, kFileMode));
  if (file.IsOpen()) {
    static_cast<void>(fchmod(file.Get(), kFileMode));  // independent of the umask
    return kSuccess;
  }
  if (errno != EEXIST) return CodeFromErrno(errno);
  // With O_CREAT again: the file may just have been renamed by another process.
  file = FileDescriptor(open(native.c_str(), access | kFlags | O_CREAT, kFileMode));
  if (!file.IsOpen()) return CodeFromErrno(errno);
  return IsOwnFile(file.Get()) ? kSuccess : kAccessDenied;
}

// Whether OpenFileToWrite would open or create the file, as far as can be found out without doing
// so.
bool CanBeWritten(const char* path) {
  struct stat status {};
  if (lstat(path, &status) != 0) return true;
  if (!IsOwnFile(status)) return false;
  const FileDescriptor file(open(path, O_WRONLY | kFlags));
  return file.IsOpen() && !IsLockedByOthers(file.Get());
}

std::string HexOf(unsigned number) {
  std::array<char, 8> digits;
  const int length = snprintf(digits.data(), digits.size(), "%X", number);
  return {digits.data(), static_cast<std::size_t>(length)};
}

// Where to start among the numbers 1 to count; different for each process and each time.
unsigned ChooseStart(unsigned count) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const auto ticks = static_cast<unsigned long>(now.tv_sec) * 1'000'000'000ul +
                     static_cast<unsigned long>(now.tv_nsec);
  return static_cast<unsigned>((ticks / 1000 + static_cast<unsigned long>(getpid()) * 40503) %
                               count);
}

Code CreateNewFile(const std::string& path) {
  const FileDescriptor created(
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
  if (created.IsOpen()) return kSuccess;
  return errno == ENOENT || errno == ENOTDIR ? kInvalidDirectory : CodeFromErrno(errno);
}

}  // namespace

Code OpenFileToWrite(const WideString& path, WriteMode mode, Handle& file) {
  file = InvalidHandle();
  FileDescriptor opened;
  const int access = mode == WriteMode::kReadWrite ? O_RDWR : O_WRONLY;
  if (const Code code = OpenLog(path, access, opened); code != kSuccess) return code;
  // Any other failure means that the file system has no locks.
  if (SetFileLock(opened.Get(), F_WRLCK) == kSharingViolation) return kSharingViolation;
  file = new LockedFileObject(std::move(opened));
  return kSuccess;
}

Code OpenFileToAppend(const WideString& path, Handle& file) {
  file = InvalidHandle();
  FileDescriptor opened;
  if (const Code code = OpenLog(path, O_WRONLY, opened); code != kSuccess) return code;
  file = new FileObject(std::move(opened));
  return kSuccess;
}

Code SeekToEnd(Handle file, std::uint64_t& size) noexcept {
  const auto* object = ObjectOf<FileObject>(file);
  if (object == nullptr) return kInvalidHandle;
  const off_t end = lseek(object->descriptor.Get(), 0, SEEK_END);
  if (end < 0) return CodeFromErrno(errno);
  size = static_cast<std::uint64_t>(end);
  return kSuccess;
}

Code WriteOnce(Handle file, const void* bytes, std::uint32_t size) noexcept {
  const auto* object = ObjectOf<FileObject>(file);
  if (object == nullptr) return kInvalidHandle;
  const ssize_t written = write(object->descriptor.Get(), bytes, size);
  if (written < 0) return CodeFromErrno(errno);
  return static_cast<std::size_t>(written) == size ? kSuccess : kDiskFull;
}

Code MakeTemporaryFile(const WideString& directory, const WideString& prefix, WideView extension,
                       WideString& path) {
  if (directory.empty()) return kInvalidDirectory;
  WideString wide = directory;
  if (wide.back() != u'\\') wide += u'\\';
  wide.append(prefix, 0, 3);
  std::string native;
  if (const Code code = NativePath(wide, native); code != kSuccess) return code;
  const std::string wanted = '.' + Utf8FromWide(extension);
  constexpr unsigned kNumbers = 0xFFFF;
  const unsigned start = ChooseStart(kNumbers);
  for (unsigned i = 0; i < kNumbers; ++i) {
    const std::string number = HexOf((start + i) % kNumbers + 1);
    if (!CanBeWritten(std::string(native).append(number).append(wanted).c_str())) continue;
    const std::string rest = number + ".tmp";
    const Code code = CreateNewFile(native + rest);
    if (code == kAlreadyExists) continue;
    if (code == kSuccess) path = wide.append(rest.begin(), rest.end());
    return code;
  }
  return kAlreadyExists;
}

}  // namespace larder::platform
