// What happens when a provider module is loaded, found out in a process of its own: a module that
// crashes or hangs takes the tool's child with it, not the tool.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/wide.h"

namespace larder::tool {

struct ProbeResult {
  std::optional<std::int32_t> type;  // what the provider says; nothing when it couldn't be asked
  std::vector<std::string> missing;  // files that it depends on and that aren't found
  // Why the library can't load it, or doesn't survive that; empty when it can.
  std::string fault;
  // Whether LarderInit comes back at all with this fault.
  bool isFatal = false;
  // What goes wrong when the library gives the module back; empty when nothing does.
  std::string endFault;
};

// limit: how long the whole of it may take.
[[nodiscard]] ProbeResult ProbeProvider(const WideString& module, std::chrono::milliseconds limit);

}  // namespace larder::tool
