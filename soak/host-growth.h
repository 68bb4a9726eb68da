// Detects that a process grows which should not.
#pragma once

#include <string>

#include "soak/host-state.h"

namespace larder::soak {

class Growth {
 public:
  // After each round. Throws Fault if several footprints in a row are larger than those of the
  // first rounds by more than the allocator's and the system's noise.
  void Add(const Footprint& footprint);

  std::string Text() const;     // the last footprint
  std::string Summary() const;  // and those of the first rounds

 private:
  int rounds = 0;
  int larger = 0;  // in a row
  Footprint last;
  Footprint first;  // the largest of the first rounds
};

}  // namespace larder::soak
