// Keys and values below the library's root in the registry. Subkeys are relative to that root.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/registry.h"
#include "platform/wide.h"

namespace larder::tool {

struct ValueName {
  WideString subkey;
  WideString name;
};

struct RegistryValue {
  std::uint32_t type = platform::kRegSz;
  std::vector<unsigned char> data;
};

// The subkey's path below the machine hive, without a backslash at the end.
WideString PathOfSubkey(const WideString& subkey);

// For messages: the subkey, or the root's path, in quotation marks.
std::string KeyLabel(const WideString& subkey);

// For messages: the value and its key, each in quotation marks.
std::string ValueLabel(const ValueName& target);

// RegistrySubkeyName or RegistryValueName.
using NameReader = platform::Code (*)(platform::RegistryKey, std::uint32_t, LarderWideChar*,
                                      std::uint32_t&);

// Appends the names of a key's subkeys or values, in the registry's order. After a failure, names
// has those before it.
[[nodiscard]] platform::Code ReadNames(platform::RegistryKey key, NameReader read,
                                       std::vector<WideString>& names);

// Reads a whole value of any length.
[[nodiscard]] platform::Code ReadRegistryValue(platform::RegistryKey key, const WideString& name,
                                               RegistryValue& value);

// Fails with kFileNotFound if the key or the value doesn't exist.
[[nodiscard]] platform::Code GetValue(const ValueName& target, RegistryValue& value);

// Creates the key, and the levels above it, if they are missing.
[[nodiscard]] platform::Code SetValue(const ValueName& target, const RegistryValue& value);

[[nodiscard]] platform::Code DeleteValue(const ValueName& target);

// Whether the key can be read, and is marked as open to all users.
[[nodiscard]] bool IsOpenToAll(const WideString& subkey);

// "REG_SZ" and so on; "REG_<number>" for a type without a name.
std::string TypeName(std::uint32_t type);

// The data as UTF-8: REG_SZ and REG_EXPAND_SZ without the terminator, REG_DWORD in decimal. All
// other types, and data whose size doesn't fit its type, as hexadecimal digits.
std::string DataText(const RegistryValue& value);

// A text with its terminator. type: kRegSz or kRegExpandSz.
RegistryValue TextValue(std::uint32_t type, const WideString& text);

// A number in the form of ParseUnsigned; nothing if the text isn't a 32-bit number.
std::optional<RegistryValue> DwordValue(const std::string& text);

}  // namespace larder::tool
