// The resources of this process that a library may leak.
#pragma once

#include <cstddef>

namespace larder {

struct Footprint {
  std::size_t threads = 0;
  std::size_t handles = 0;  // open descriptors, handles of kernel objects
};

Footprint TakeFootprint();

}  // namespace larder
