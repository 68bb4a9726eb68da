// The machine of the scans.
#pragma once

#include "machine.h"

namespace larder {

inline constexpr char kTree[] = "/usr/include";

struct ScanMachine : Machine {
  ScanMachine() { Register({"feed-file.dll"}); }
};

}  // namespace larder
