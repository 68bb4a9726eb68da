#include "memory.h"

#include <malloc.h>

namespace larder {

std::size_t AllocatedBytes() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

}  // namespace larder
