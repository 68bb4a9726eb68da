// The machine's registry: keys, which have subkeys and named values of raw bytes. Names are
// compared without case. Paths are relative to the machine hive, with backslashes between the
// levels; a trailing backslash has no meaning.
#pragma once

#include <cstdint>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

struct RegistryKeyObject;
using RegistryKey = RegistryKeyObject*;

inline constexpr std::uint32_t kKeyQueryValue = 0x1;
inline constexpr std::uint32_t kKeySetValue = 0x2;
inline constexpr std::uint32_t kKeyCreateSubKey = 0x4;
inline constexpr std::uint32_t kKeyEnumerateSubKeys = 0x8;
inline constexpr std::uint32_t kKeyRead = 0x20019;
inline constexpr std::uint32_t kKeyAllAccess = 0xF003F;

inline constexpr std::uint32_t kRegSz = 1;  // wide text with a terminator
inline constexpr std::uint32_t kRegExpandSz = 2;
inline constexpr std::uint32_t kRegBinary = 3;
inline constexpr std::uint32_t kRegDword = 4;  // unsigned 32-bit, little-endian

// Opens a key for the given access; kFileNotFound if it doesn't exist. Make creates the key then,
// with the missing levels above it. Operations that need a right that isn't part of the access fail
// with kAccessDenied, and operations on a null key with kInvalidHandle.
[[nodiscard]] Code OpenRegistryKey(const WideString& path, std::uint32_t access, RegistryKey& key);
[[nodiscard]] Code MakeRegistryKey(const WideString& path, std::uint32_t access, RegistryKey& key);
// Does nothing for null.
void CloseRegistryKey(RegistryKey key) noexcept;

// size: in, the capacity of data in bytes; out, the size of the value. Without data (null), only
// type and size are set. If the value doesn't fit, they are set too, with kMoreData. kFileNotFound
// if there is no such value, kRegistryCorrupt if what is stored isn't a valid one.
[[nodiscard]] Code QueryRegistryValue(RegistryKey key, const WideString& name, std::uint32_t& type,
                                      void* data, std::uint32_t& size);
// Atomic: a reader sees the old value or the new one.
[[nodiscard]] Code SetRegistryValue(RegistryKey key, const WideString& name, std::uint32_t type,
                                    const void* data, std::uint32_t size);
[[nodiscard]] Code RemoveRegistryValue(RegistryKey key, const WideString& name);

// The name of the subkey or value with this index, in the registry's order, NUL-terminated. length:
// in, the capacity of name in units; out, the length without the NUL. kNoMoreItems after the last
// one, kMoreData for a name that doesn't fit. The key must not be used by two threads at once.
// Listing all names takes linear time if the index goes up from 0 and nothing changes the key
// meanwhile.
[[nodiscard]] Code RegistrySubkeyName(RegistryKey key, std::uint32_t index, LarderWideChar* name,
                                      std::uint32_t& length);
[[nodiscard]] Code RegistryValueName(RegistryKey key, std::uint32_t index, LarderWideChar* name,
                                     std::uint32_t& length);

// A key can be marked as open to all users: then a user who may only read it can open it for any
// access. Each change by that user still fails with kAccessDenied. The mark applies to one key, not
// to its subkeys. Only root and the owner of a key can mark it. Windows has no such mark: no key
// has it there, and setting it fails with kNotSupported.
[[nodiscard]] bool CanBeOpenToAll() noexcept;  // whether this system has the mark
[[nodiscard]] bool IsOpenToAll(RegistryKey key);
[[nodiscard]] Code SetOpenToAll(RegistryKey key, bool isOpen);

// Removes the key at a path with everything below it.
[[nodiscard]] Code RemoveRegistryTree(const WideString& path);
// Removes a key that has no subkeys, by its name below an open one.
[[nodiscard]] Code RemoveRegistryKey(RegistryKey parent, const WideString& name);

}  // namespace larder::platform
