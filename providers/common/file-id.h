// The identity of a file as FileDataRecord tells it.
#pragma once

#include <cstdint>

#include "platform/file.h"

namespace larder::feed {

// The volume is spread over all bits, so that files of two volumes with one number differ.
inline std::uint64_t FileIdOf(const platform::FileInfo& info) noexcept {
  return info.index ^ (info.volume * 0x9E3779B97F4A7C15u);
}

}  // namespace larder::feed
