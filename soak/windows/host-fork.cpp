#include "soak/host-rounds.h"

namespace larder::soak {

void Fork(HostProcess&, Random&) {}

}  // namespace larder::soak
