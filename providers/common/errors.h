// The exceptions that a provider throws to its host: their results and their texts.
#pragma once

#include <cstdint>
#include <string>
#include <system_error>

#include "common/object-identity.h"
#include "platform/file.h"

namespace larder::feed {

// Thrown by GetKey or Query, it makes LarderQuery return the code unchanged. Its text is the given
// one followed by ": result CODE".
std::system_error ResultError(std::int32_t code, const std::string& text);

// Throws std::runtime_error with the path and the reason.
[[noreturn]] void FailRead(const ObjectIdentity& wanted, const std::string& reason);

// True for kSuccess, false for the codes of what isn't there; FailRead otherwise.
bool Exists(const ObjectIdentity& wanted, platform::Code code);

// FailRead for what isn't a regular file.
void RequireRegular(const ObjectIdentity& wanted, platform::FileKind kind);

// Throws std::system_error with LARDER_E_FILE_ID_MISMATCH if wanted.lastModified isn't 0 and isn't
// the file's.
void RequireLastModified(const ObjectIdentity& wanted, const platform::FileInfo& info);

}  // namespace larder::feed
