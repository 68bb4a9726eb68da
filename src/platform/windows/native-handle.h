// Handles as the system's calls take them.
#pragma once

#include <windows.h>

#include "platform/handle.h"

namespace larder::platform {

inline HANDLE Native(Handle handle) noexcept { return reinterpret_cast<HANDLE>(handle); }

inline bool IsEmpty(Handle handle) noexcept {
  return handle == nullptr || handle == InvalidHandle();
}

}  // namespace larder::platform
