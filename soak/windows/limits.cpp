#include <cstdio>

#include "soak/run.h"

namespace larder::soak {

void WorkWithin(const WorkerArguments&) {}

void RunLimits(const Options&) { std::puts("limits: this system has no such limits"); }

}  // namespace larder::soak
