// The files of the measurements of digests.
#pragma once

#include <string>

#include "machine.h"

namespace larder {

// Has a file of 256 MiB, and on Linux a signed image of that size.
struct DigestMachine : Machine {
  DigestMachine();

  std::string PathOf(const char* name) const { return (Folder() / name).string(); }
};

inline constexpr char kLargeFile[] = "large";
inline constexpr char kSignedImage[] = "image";
inline constexpr std::size_t kLargeSize = std::size_t{256} << 20;

}  // namespace larder
