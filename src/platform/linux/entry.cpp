#include "platform/entry.h"

#include <dlfcn.h>

namespace larder::platform {
namespace {

// A constructor can't refuse the load, so the result of OnModuleAttach has no effect. Static
// objects of sources that are linked after this one aren't constructed yet.
__attribute__((constructor)) void Attach() {
  Dl_info image{};
  if (dladdr(reinterpret_cast<const void*>(&OnModuleAttach), &image) == 0)
    image.dli_fbase = nullptr;
  static_cast<void>(OnModuleAttach(image.dli_fbase));
}

__attribute__((destructor)) void Detach() { OnModuleDetach(); }

}  // namespace
}  // namespace larder::platform
