// Values of the product's part of the machine's registry, Software\Velmor\Larder\.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/wide.h"

namespace larder::feed {

// Throw std::runtime_error, with the value's name, its key and the reason, for a value that is
// there and can't be used.

// A value of type REG_SZ with at most 98 characters; empty if there is none.
WideString ReadRegistryText(WideView subkey, const WideString& name);
// A value of type REG_DWORD.
std::optional<std::uint32_t> ReadRegistryNumber(WideView subkey, const WideString& name);

}  // namespace larder::feed
