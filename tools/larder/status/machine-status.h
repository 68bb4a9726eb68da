// What the library would find on this machine, and what its next LarderInit would return.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "tools/larder/status/data-status.h"
#include "tools/larder/status/provider-status.h"
#include "tools/larder/status/trace-object.h"

namespace larder::tool {

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
  std::string rootFault;  // why the library finds nothing on this machine
  LogStatus log;
  TraceObject trace;
  StoreStatus store;
  EventStatus event;
  Verdict verdict;
  // Whether all that programs of this user use is as it should be.
  [[nodiscard]] bool IsGood() const {
    return verdict.IsGood() && rootFault.empty() && log.fault.empty() && trace.fault.empty() &&
           store.fault.empty() && event.fault.empty();
  }
};

// limit: the time that each module may take, and the object of trace sessions. Tries them one after
// the other, each in a child process.
[[nodiscard]] MachineStatus FindMachineStatus(std::chrono::milliseconds limit);

}  // namespace larder::tool
