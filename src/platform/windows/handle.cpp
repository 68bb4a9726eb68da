#include "platform/handle.h"

#include <windows.h>

namespace larder::platform {

void CloseObject(Handle handle) noexcept {
  if (handle != nullptr && handle != InvalidHandle()) CloseHandle(reinterpret_cast<HANDLE>(handle));
}

}  // namespace larder::platform
