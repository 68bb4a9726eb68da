// The entries of a directory, one at a time.
#pragma once

#include <dirent.h>

#include <cerrno>
#include <memory>
#include <string_view>

#include "platform/linux/file-descriptor.h"
#include "platform/linux/native.h"

namespace larder::platform {

inline bool IsDots(const dirent& entry) {
  const std::string_view name = entry.d_name;
  return name == "." || name == "..";
}

class DirectoryStream {
 public:
  Code Open(const char* path) noexcept {
    stream.reset(opendir(path));
    return stream ? kSuccess : CodeFromErrno(errno);
  }
  // Takes the descriptor.
  Code Open(FileDescriptor directory) noexcept {
    if (!directory.IsOpen()) return CodeFromErrno(errno);
    stream.reset(fdopendir(directory.Get()));
    if (!stream) return CodeFromErrno(errno);
    directory.Release();
    return kSuccess;
  }

  // Includes "." and "..". entry is null after the last one, and otherwise valid until the next
  // call.
  Code ReadNext(const dirent*& entry) noexcept {
    errno = 0;
    const dirent* const next = readdir(stream.get());
    if (next == nullptr && errno != 0) return CodeFromErrno(errno);
    entry = next;
    return kSuccess;
  }

  [[nodiscard]] int Descriptor() const noexcept { return dirfd(stream.get()); }

 private:
  struct Close {
    void operator()(DIR* opened) const noexcept { closedir(opened); }
  };
  std::unique_ptr<DIR, Close> stream;
};

}  // namespace larder::platform
