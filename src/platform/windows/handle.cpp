#include "platform/handle.h"

#include "platform/windows/native.h"

namespace larder::platform {

void CloseObject(Handle handle) noexcept {
  if (IsThread(handle))
    CloseThread(handle);
  else if (!IsEmpty(handle))
    CloseHandle(Native(handle));
}

}  // namespace larder::platform
