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
#include "platform/linux/kernel-object.h"
#include "platform/linux/native.h"

namespace larder::platform {
namespace {

constexpr mode_t kFileMode = 0644;

bool IsRegular(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
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
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  const FileDescriptor created(open(path.c_str(), kFlags, kFileMode));
  if (created.IsOpen()) return kSuccess;
  return errno == ENOENT || errno == ENOTDIR ? kInvalidDirectory : CodeFromErrno(errno);
}

}  // namespace

Code OpenFileToWrite(const WideString& path, WriteMode mode, Handle& file) {
  file = InvalidHandle();
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  const int access = mode == WriteMode::kReadWrite ? O_RDWR : O_WRONLY;
  constexpr int kFlags = O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  FileDescriptor descriptor(open(native.c_str(), access | kFlags, kFileMode));
  if (!descriptor.IsOpen()) return CodeFromErrno(errno);
  if (!IsRegular(descriptor.Get())) return kAccessDenied;
  file = new FileObject(std::move(descriptor));
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

Code MakeTemporaryFile(const WideString& directory, const WideString& prefix, WideString& path) {
  if (directory.empty()) return kInvalidDirectory;
  WideString wide = directory;
  if (wide.back() != u'\\') wide += u'\\';
  wide.append(prefix, 0, 3);
  std::string native;
  if (const Code code = NativePath(wide, native); code != kSuccess) return code;
  constexpr unsigned kNumbers = 0xFFFF;
  const unsigned start = ChooseStart(kNumbers);
  for (unsigned i = 0; i < kNumbers; ++i) {
    const std::string rest = HexOf((start + i) % kNumbers + 1) + ".tmp";
    const Code code = CreateNewFile(native + rest);
    if (code == kAlreadyExists) continue;
    if (code == kSuccess) path = wide.append(rest.begin(), rest.end());
    return code;
  }
  return kAlreadyExists;
}

}  // namespace larder::platform
