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

// How many lives of a library with a thread of its own it takes until the system has all that it
// keeps for such ones: wine holds on to an ended thread of an unloaded library, once and not once
// more for each.
extern const int kLivesUntilSettled;

// Whether a file with this name is mapped as a module.
bool IsMapped(const std::string& fileName);

}  // namespace larder
