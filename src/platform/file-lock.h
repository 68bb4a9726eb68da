// Locks on files, between processes and between the handles of one process: at most one handle
// holds the lock of a file.
#pragma once

#include "platform/code.h"
#include "platform/handle.h"
#include "platform/wide.h"

namespace larder::platform {

// Opens the file at a path for locking only, and creates it, empty, if it doesn't exist. Child
// processes don't inherit the handle.
Code OpenLockFile(const WideString& path, Handle& file);

// Never waits: kSharingViolation while another handle holds the lock. The lock is released by
// UnlockFile, by closing the handle, and by the end of the process, however it ends.
[[nodiscard]] Code TryLockFile(Handle file) noexcept;
Code UnlockFile(Handle file) noexcept;

}  // namespace larder::platform
