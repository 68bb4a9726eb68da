// The exceptions that the providers throw to their host, with their result codes and texts.
#pragma once

#include <cstdint>
#include <string>
#include <system_error>

#include "common/object-identity.h"
#include "platform/file.h"

namespace larder::feed {

// Thrown by GetKey or Query, it makes LarderQuery return the code unchanged. what() is the text,
// followed by ": result CODE".
std::system_error ResultError(std::int32_t code, const std::string& text);

// Throws std::runtime_error with the path and the reason why the file can't be read.
[[noreturn]] void FailRead(const ObjectIdentity& wanted, const std::string& reason);

// code: of an operation on the file. True for kSuccess, false if the file doesn't exist; fails as
// FailRead does for any other code.
bool Exists(const ObjectIdentity& wanted, platform::Code code);

// Fails as FailRead does unless the file is a regular one.
void RequireRegular(const ObjectIdentity& wanted, platform::FileKind kind);

// Throws std::system_error with LARDER_E_FILE_ID_MISMATCH if wanted.lastModified is neither 0 nor
// the file's.
void RequireLastModified(const ObjectIdentity& wanted, const platform::FileInfo& info);

}  // namespace larder::feed
