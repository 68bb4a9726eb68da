#include "platform/handle.h"

#include "platform/linux/kernel-object.h"

namespace larder::platform {

void CloseObject(Handle handle) noexcept {
  if (handle != InvalidHandle()) delete handle;
}

}  // namespace larder::platform
