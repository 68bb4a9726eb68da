// Tries to load a provider module in a child process, so that a module that crashes or hangs
// doesn't affect the tool.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/wide.h"

namespace larder::tool {

struct ProbeResult {
  std::optional<std::int32_t> type;  // from the provider's GetType; nothing if it didn't get there
  std::vector<std::string> missing;  // dependencies that aren't found
  // Why the library can't load the module, or doesn't survive that; empty if it can.
  std::string fault;
  // Whether LarderInit doesn't return because of the fault.
  bool isFatal = false;
  // For a module with a store of records: why it can't use it, or empty.
  std::optional<std::string> storeFault;
  // What goes wrong when the library releases the module; empty if nothing does.
  std::string endFault;
};

// limit: the time that the child process may take.
[[nodiscard]] ProbeResult ProbeProvider(const WideString& module, std::chrono::milliseconds limit);

// Why the module can't be loaded, or that it doesn't export this function; empty if nothing is
// wrong. Loads it in a child process as well, but calls none of its functions, so it needs no
// registration.
[[nodiscard]] std::string FindLoadFault(const WideString& module, const std::string& exportName,
                                        std::chrono::milliseconds limit);

}  // namespace larder::tool
