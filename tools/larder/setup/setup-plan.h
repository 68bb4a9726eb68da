// What "larder setup" would change on this machine, and what prevents it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "support/installed-state.h"

namespace larder::tool {

struct SetupOptions {
  bool withLog = false;
  bool withTestProvider = false;
  bool isOnly = false;              // no other providers
  std::optional<bool> isOpenToAll;  // no value: unchanged
};

struct PlannedValue {
  DefaultValue value;
  std::string former;   // what is stored now, as "<type>\t<data>"; empty if there is no such value
  bool isSame = false;  // the library reads the planned text already
};

// The mark of the key DataProviders.
struct PlannedMark {
  bool before = false;
  bool after = false;
};

// Subkeys are relative to the library's root in the registry.
struct SetupPlan {
  std::vector<PlannedValue> values;
  std::vector<WideString> deletedKeys;
  std::vector<std::string> kept;  // other values, each as "registry list" prints it
  PlannedMark mark;
  // Why nothing may be changed; empty if nothing prevents it.
  std::vector<std::string> obstacles;
};

// Finds the modules where the installation has them, and reads the machine's registry. Changes
// nothing. Loads the modules in child processes.
[[nodiscard]] SetupPlan MakeSetupPlan(const SetupOptions& options);

}  // namespace larder::tool
