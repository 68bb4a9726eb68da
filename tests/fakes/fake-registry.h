// The group registry of the seam, replaced by one that holds nothing and gives codes of the test's.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/registry.h"

namespace larder {

struct FakeRegistry {
  // What was asked for, in order: "open PATH", "make PATH", "query NAME", "set NAME",
  // "remove value NAME", "subkey", "value", "remove tree PATH", "remove key NAME".
  std::vector<std::string> calls;
  // Codes by what is asked for. Without one, there are no values and no subkeys, and everything
  // else succeeds.
  std::map<std::string, platform::Code> codes;
};

// Reset by the test before it begins.
extern FakeRegistry CurrentRegistry;

}  // namespace larder
