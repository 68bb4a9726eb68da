// What this process has open.
#pragma once

#include <fcntl.h>

#include <set>

namespace larder::platform {

inline std::set<int> OpenDescriptors() {
  std::set<int> open;
  for (int number = 0; number < 1024; ++number) {
    if (fcntl(number, F_GETFD) != -1) open.insert(number);
  }
  return open;
}

// Those that came since.
inline std::set<int> OpenedSince(const std::set<int>& before) {
  std::set<int> opened = OpenDescriptors();
  for (const int number : before) opened.erase(number);
  return opened;
}

// Whether a program that this process starts would have it too.
inline bool IsInherited(int descriptor) { return (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0; }

}  // namespace larder::platform
