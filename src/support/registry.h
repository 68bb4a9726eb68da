// The library's configuration, below one fixed key of the machine's registry.
//
// Each routine opens the key that it needs, does one thing and closes the key. Failures are logged
// as WARN lines only: a caller can't distinguish an absent value from an unreadable one. A subkey
// is relative to LarderRegistryRoot (product/product.h), may hold several levels
// ("DataProviders\FeedFile") and may not begin with a backslash. Any thread. Nothing is thrown but
// std::bad_alloc.
#pragma once

#include <cstdint>

#include "platform/wide.h"
#include "product/product.h"
#include "support/scoped-handles.h"

namespace larder {

// A value of type REG_SZ with at most kMaxRegistryCharacters; empty if there is none, or if it
// is longer, of another type or unreadable.
WideString GetRegistryString(const WideString& subkey, const WideString& valueName);

// A value of type REG_DWORD. False if it couldn't be read; *value has changed even then if a value
// of 4 bytes has another type.
bool GetRegistryInt(const WideString& subkey, const WideString& valueName, std::int32_t* value);

// Writes a value of type REG_SZ. Creates the key and the levels above it if they are missing.
void SetRegistryString(const WideString& subkey, const WideString& valueName,
                       const WideString& data);

void DeleteRegistryValue(const WideString& subkey, const WideString& valueName);

// Opens a key for an access mask of platform/registry.h; empty on failure.
AutoRegKeyHandle OpenRegistrySubkey(const WideString& subkey, std::uint32_t access);

}  // namespace larder
