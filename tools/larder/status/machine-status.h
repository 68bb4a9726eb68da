// What the library would find on this machine, and what its next LarderInit would return.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "tools/larder/status/provider-status.h"

namespace larder::tool {

struct LogStatus {
  bool isOn = false;
  StatusValue value;  // of the switch
  WideString folder;
  bool hasFolder = false;
  std::size_t files = 0;
  std::uint64_t bytes = 0;
};

// What the next LarderInit returns.
struct Verdict {
  std::optional<std::int32_t> result;  // nothing if it doesn't return
  std::string culprit;                 // the module or the key at fault; empty if there is none
  std::string reason;
  // LarderInit succeeds, and so does the last LarderRelease.
  [[nodiscard]] bool IsGood() const { return result == 0 && reason.empty(); }
};

struct MachineStatus {
  StatusValue location;
  std::string locationFault;   // what is wrong with a location that can be read
  bool isOpenToAll = false;    // programs of all users may open the key DataProviders
  std::string providersFault;  // why the library sees no key, or not all, below DataProviders
  std::vector<ProviderStatus> providers;
  LogStatus log;
  Verdict verdict;
};

// limit: the time that each module may take. Tries the modules one after the other, each in a child
// process.
[[nodiscard]] MachineStatus FindMachineStatus(std::chrono::milliseconds limit);

}  // namespace larder::tool
