// A read lease, which the kernel grants only while no descriptor that may write and no writable
// shared mapping of the file exists.
#pragma once

#include "platform/code.h"

namespace larder::platform {

// Takes a read lease on the file and releases it at once. descriptor: open for reading only. The
// codes are those of ProveNoWriter.
[[nodiscard]] Code TryReadLease(int descriptor) noexcept;

}  // namespace larder::platform
