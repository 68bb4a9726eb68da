// The platform group "registry", replaced by one that holds at most one value and returns the codes
// that a test sets.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/registry.h"

namespace larder {

struct FakeRegistry {
  // The calls in order: "open PATH", "make PATH", "query NAME", "set NAME", "remove value NAME",
  // "subkey", "value", "remove tree PATH", "remove key NAME".
  std::vector<std::string> calls;
  // The codes that calls return. Without one, a query finds nothing, an enumeration has no more
  // items, and every other call succeeds.
  std::map<std::string, platform::Code> codes;
  // What every query of a value returns, unless it is empty; at most 98 characters.
  WideString location;
};

// Each test resets it first.
extern FakeRegistry CurrentRegistry;

}  // namespace larder
