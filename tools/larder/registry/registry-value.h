// Values of the registry and their texts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/registry.h"
#include "platform/wide.h"

namespace larder::tool {

struct RegistryValue {
  std::uint32_t type = platform::kRegSz;
  std::vector<unsigned char> data;
};

// Reads a whole value, however long.
[[nodiscard]] platform::Code ReadRegistryValue(platform::RegistryKey key, const WideString& name,
                                               RegistryValue& value);

// "REG_SZ" and so on; "REG_<number>" for a type without a name of its own.
std::string TypeName(std::uint32_t type);

// The data as UTF-8: text of REG_SZ and REG_EXPAND_SZ without its terminator, REG_DWORD in decimal.
// Everything else, and data whose size doesn't fit its type, as hexadecimal digits.
std::string DataText(const RegistryValue& value);

// Text with its terminator. type: kRegSz or kRegExpandSz.
RegistryValue TextValue(std::uint32_t type, const WideString& text);

// A number as ParseUnsigned takes it; nothing when it isn't one of 32 bits.
std::optional<RegistryValue> DwordValue(const std::string& text);

}  // namespace larder::tool
