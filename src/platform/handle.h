// Handles of kernel objects: files, events, threads.
#pragma once

#include <cstdint>

namespace larder::platform {

struct KernelObject;
using Handle = KernelObject*;

// What a failed open of a file gives: all bits set. A failed event or thread gives null instead.
inline Handle InvalidHandle() noexcept {
  return reinterpret_cast<Handle>(~std::uintptr_t{0});  // NOLINT(performance-no-int-to-ptr)
}

// Null and InvalidHandle() are refused without any effect.
void CloseObject(Handle handle) noexcept;

}  // namespace larder::platform
