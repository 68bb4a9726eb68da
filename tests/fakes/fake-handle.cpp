#include "fakes/fake-handle.h"

namespace larder {

std::vector<platform::Handle>& ClosedHandles() {
  static std::vector<platform::Handle> handles;
  return handles;
}

void platform::CloseObject(Handle handle) noexcept { ClosedHandles().push_back(handle); }

}  // namespace larder
