// The folders and the event that programs with the library share: the log's folder, the file
// provider's store, and the installer's event. Nothing is created or changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "tools/larder/status/provider-status.h"

namespace larder::tool {

// A fault is what doesn't work for programs of this user, with the step that mends it; a note is
// worth knowing. Both are empty if there is nothing to say.
struct LogStatus {
  bool isOn = false;
  StatusValue value;  // of the switch
  WideString folder;
  bool hasFolder = false;
  std::size_t files = 0;
  std::uint64_t bytes = 0;
  std::string fault;  // only if the log is on
  std::string note;
};

struct StoreStatus {
  bool isThere = false;  // a module with a store is registered and can be loaded
  WideString folder;
  std::string state;
  std::string fault;
  std::string note;
};

struct EventStatus {
  bool isRaised = false;
  std::string fault;
};

[[nodiscard]] LogStatus FindLogStatus();
// providers: as they were tried.
[[nodiscard]] StoreStatus FindStoreStatus(const std::vector<ProviderStatus>& providers);
[[nodiscard]] EventStatus FindEventStatus();

}  // namespace larder::tool
