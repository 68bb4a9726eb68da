// An owner of a file descriptor, which closes it.
#pragma once

#include <unistd.h>

#include <utility>

namespace larder::platform {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) noexcept : number(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number, other.number);
    return *this;
  }
  ~FileDescriptor() {
    if (number >= 0) close(number);
  }

  [[nodiscard]] int Get() const noexcept { return number; }
  [[nodiscard]] bool IsOpen() const noexcept { return number >= 0; }
  int Release() noexcept { return std::exchange(number, -1); }

 private:
  int number = -1;
};

}  // namespace larder::platform
