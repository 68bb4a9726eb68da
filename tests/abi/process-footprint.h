// What a library may leave behind in a process.
#pragma once

#include <cstddef>
#include <string>

namespace larder {

struct Footprint {
  std::size_t threads = 0;
  std::size_t handles = 0;  // open descriptors, handles of kernel objects
};

Footprint TakeFootprint();

// Whether a file with this name is mapped as a module.
bool IsMapped(const std::string& fileName);

}  // namespace larder
