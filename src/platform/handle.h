// Handles of files, events and threads.
#pragma once

#include <cstdint>

namespace larder::platform {

struct KernelObject;
using Handle = KernelObject*;

// The empty handle of a file: all bits set. The empty handle of an event or a thread is null.
inline Handle InvalidHandle() noexcept {
  return reinterpret_cast<Handle>(~std::uintptr_t{0});  // NOLINT(performance-no-int-to-ptr)
}

// Does nothing for null and InvalidHandle().
void CloseObject(Handle handle) noexcept;

}  // namespace larder::platform
