#include "platform/handle.h"

#include "platform/windows/native-handle.h"

namespace larder::platform {

void CloseObject(Handle handle) noexcept {
  if (!IsEmpty(handle)) CloseHandle(Native(handle));
}

}  // namespace larder::platform
