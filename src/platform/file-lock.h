// Locks between processes: a file that one handle at a time holds. Between the handles of one
// process it is the same.
#pragma once

#include "platform/code.h"
#include "platform/handle.h"
#include "platform/wide.h"

namespace larder::platform {

// Opens the file at a path for nothing but locking, making it, empty, if it isn't there. Child
// processes don't inherit the handle.
Code OpenLockFile(const WideString& path, Handle& file);

// Never waits: kSharingViolation while another handle holds the lock. It is given back by
// UnlockFile, by closing the handle, and when the process ends, however it does.
[[nodiscard]] Code TryLockFile(Handle file) noexcept;
Code UnlockFile(Handle file) noexcept;

}  // namespace larder::platform
