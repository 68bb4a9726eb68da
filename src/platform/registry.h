// The machine's registry: keys that hold named values of raw bytes. Names are compared without
// case. Paths are relative to the machine hive, with backslashes between the levels; a backslash at
// the end adds nothing.
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

inline constexpr std::uint32_t kRegSz = 1;  // wide text with its terminator
inline constexpr std::uint32_t kRegExpandSz = 2;
inline constexpr std::uint32_t kRegBinary = 3;
inline constexpr std::uint32_t kRegDword = 4;  // unsigned 32-bit, little-endian

// Opens a key for the access asked for; kFileNotFound when there is none. Make also makes the key
// and the missing levels above it. On failure key is null. An operation whose right isn't in the
// access is refused with kAccessDenied; one on a null key with kInvalidHandle.
[[nodiscard]] Code OpenRegistryKey(const WideString& path, std::uint32_t access, RegistryKey& key);
[[nodiscard]] Code MakeRegistryKey(const WideString& path, std::uint32_t access, RegistryKey& key);
// Null is refused without any effect.
void CloseRegistryKey(RegistryKey key) noexcept;

// size: in, bytes of room at data; out, bytes of the value. kMoreData, with type and size told,
// when the room is too small; kFileNotFound when there is no such value; kRegistryCorrupt when what
// is stored makes no value.
[[nodiscard]] Code QueryRegistryValue(RegistryKey key, const WideString& name, std::uint32_t& type,
                                      void* data, std::uint32_t& size);
// Sets the whole value or nothing: a reader sees the old one or the new one.
[[nodiscard]] Code SetRegistryValue(RegistryKey key, const WideString& name, std::uint32_t type,
                                    const void* data, std::uint32_t size);
[[nodiscard]] Code RemoveRegistryValue(RegistryKey key, const WideString& name);

// The name of the subkey or value with this index, in the registry's order. length: in, room in
// units, terminator included; out, length without it. kNoMoreItems past the last one, kMoreData for
// a name that doesn't fit.
[[nodiscard]] Code RegistrySubkeyName(RegistryKey key, std::uint32_t index, LarderWideChar* name,
                                      std::uint32_t& length);
[[nodiscard]] Code RegistryValueName(RegistryKey key, std::uint32_t index, LarderWideChar* name,
                                     std::uint32_t& length);

// The key at a path with everything below it.
[[nodiscard]] Code RemoveRegistryTree(const WideString& path);
// A key without subkeys, by its name below an open one.
[[nodiscard]] Code RemoveRegistryKey(RegistryKey parent, const WideString& name);

}  // namespace larder::platform
