// The platform group "registry", replaced by one that holds at most one value and returns the codes
// that a test sets.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/registry.h"

namespace larder {

struct FakeRegistry {
  std::vector<std::string> calls;               // "open PATH", "query NAME", "subkey", ...
  std::map<std::string, platform::Code> codes;  // of calls that neither succeed nor find nothing
  WideString location;  // what a query of any value returns, unless empty; at most 98 characters
};

// Each test resets it first.
extern FakeRegistry CurrentRegistry;

}  // namespace larder
