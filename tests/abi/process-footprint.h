// What a library may leave behind in a process.
#pragma once

#include <cstddef>

namespace larder {

struct Footprint {
  std::size_t threads = 0;
  std::size_t handles = 0;  // open descriptors, handles of kernel objects
};

Footprint TakeFootprint();

}  // namespace larder
