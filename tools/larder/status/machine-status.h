// What the library would find on this machine, and what its next LarderInit would make of it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "tools/larder/status/provider-probe.h"

namespace larder::tool {

// A value of the registry as the library reads it.
struct StatusValue {
  WideString text;    // empty when the library gets nothing
  std::string fault;  // why it gets nothing
};

struct ProviderStatus {
  WideString key;     // below DataProviders
  StatusValue dll;    // without it the library passes the key over
  WideString path;    // of the module, as the library puts it together; empty without dll
  std::string place;  // "there", or why it isn't
  bool isThere = false;
  ProbeResult probe;
};

struct LogStatus {
  bool isOn = false;
  StatusValue value;  // of the switch
  WideString folder;
  bool hasFolder = false;
  std::size_t files = 0;
  std::uint64_t bytes = 0;
};

// What the next LarderInit gives.
struct Verdict {
  std::optional<std::int32_t> result;  // nothing when it doesn't come back
  std::string culprit;                 // the module or the key at fault; empty without one
  std::string reason;
  // Everything is well: LarderInit succeeds, and so does the last LarderRelease.
  [[nodiscard]] bool IsGood() const { return result == 0 && reason.empty(); }
};

struct MachineStatus {
  StatusValue location;
  std::string locationFault;   // what is wrong with a location that could be read
  std::string providersFault;  // why the library sees no key, or not all, below DataProviders
  std::vector<ProviderStatus> providers;
  LogStatus log;
  Verdict verdict;
};

// limit: how long each module may take. Tries the modules one after the other, each in a process of
// its own.
[[nodiscard]] MachineStatus FindMachineStatus(std::chrono::milliseconds limit);

}  // namespace larder::tool
