#include "soak/host-rounds.h"

namespace larder::soak {

bool CanFork() { return false; }

void Fork(HostProcess&, Random&) {}

}  // namespace larder::soak
