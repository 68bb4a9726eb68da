// Single values below the library's root: their names and their changes.
#pragma once

#include <string>

#include "platform/code.h"
#include "platform/wide.h"
#include "tools/larder/registry/registry-value.h"

namespace larder::tool {

struct ValueName {
  WideString subkey;  // relative to the library's root
  WideString name;
};

// For a message: value and key, each in quotation marks.
std::string ValueLabel(const ValueName& target);

// Makes the key, and the levels above it, where they are missing.
[[nodiscard]] platform::Code SetValue(const ValueName& target, const RegistryValue& value);

[[nodiscard]] platform::Code DeleteValue(const ValueName& target);

}  // namespace larder::tool
