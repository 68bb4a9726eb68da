// Why nothing can be told about a file: the texts and results of the file provider and its module.
#pragma once

#include <string>

#include "common/object-identity.h"
#include "platform/file.h"

namespace larder::feed {

// Throws std::runtime_error with the path and the reason.
[[noreturn]] void RefuseFile(const ObjectIdentity& wanted, const std::string& reason);

// True for kSuccess, false for the codes of what isn't there; RefuseFile otherwise.
bool IsThere(const ObjectIdentity& wanted, platform::Code code);

// RefuseFile for what isn't a regular file.
void RequireRegular(const ObjectIdentity& wanted, platform::FileKind kind);

// Throws std::system_error with LARDER_E_FILE_ID_MISMATCH if wanted.lastModified isn't 0 and isn't
// the file's.
void RequireTime(const ObjectIdentity& wanted, const platform::FileInfo& info);

}  // namespace larder::feed
