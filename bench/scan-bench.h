// The machine of the scans.
#pragma once

#include "machine.h"

namespace larder {

inline constexpr char kTree[] = "/usr/bin";

struct ScanMachine : Machine {
  ScanMachine() { Register({"feed-file.dll"}); }
};

}  // namespace larder
