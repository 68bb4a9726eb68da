#include "tools/larder/check/array-blocks.h"

#include <windows.h>

#include <malloc.h>

namespace larder::tool {

void WatchArrayNew() {}

// The runtime's new[] and malloc share one heap, which knows its blocks.
bool IsFromArrayNew(const void* block) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the runtime has the handle as a number
  return HeapValidate(reinterpret_cast<HANDLE>(_get_heap_handle()), 0, block) != FALSE;
}

}  // namespace larder::tool
