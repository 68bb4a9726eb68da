// The provider modules that the registry names, each tried in a child process.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "tools/larder/registry/registry-value.h"
#include "tools/larder/status/provider-probe.h"

namespace larder::tool {

// A value of the registry as the library reads it.
struct StatusValue {
  WideString text;    // empty if the library gets nothing
  std::string fault;  // why it gets nothing
};

// Reads a value and, if the library gets no text from it, finds out why.
StatusValue ReadStatusValue(const ValueName& target);

struct ProviderStatus {
  WideString key;     // below DataProviders
  StatusValue dll;    // without a text the library skips the key
  WideString path;    // of the module, as the library joins it; empty without dll
  std::string place;  // "there", or why the file isn't there
  bool isThere = false;
  ProbeResult probe;
};

// The keys below DataProviders in the registry's order, which is the order of loading.
// location: the value szLocation. limit: the time that each module may take. fault: why the library
// sees no key, or not all of them; empty otherwise.
std::vector<ProviderStatus> FindProviders(const StatusValue& location,
                                          std::chrono::milliseconds limit, std::string& fault);

}  // namespace larder::tool
