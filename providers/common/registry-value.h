// Values below the product's key Software\Velmor\Larder\ of the machine's registry.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/wide.h"

namespace larder::feed {

// Both functions throw std::runtime_error, with the value's name, its key and the reason, if the
// value exists but can't be read or has another type.

// A value of type REG_SZ with at most 98 characters; empty if it doesn't exist.
WideString ReadRegistryText(WideView subkey, const WideString& name);
// A value of type REG_DWORD; nothing if it doesn't exist.
std::optional<std::uint32_t> ReadRegistryNumber(WideView subkey, const WideString& name);

}  // namespace larder::feed
