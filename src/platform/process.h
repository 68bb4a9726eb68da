// The process as a whole.
#pragma once

#include <cstdint>

namespace larder::platform {

// Registers a function to be called in the child of every fork, before fork returns there, until
// the calling module is unloaded. Does nothing on a system without fork.
void CallInForkedChild(void (*function)()) noexcept;

// The largest size in bytes to which this process may extend a file; the largest number if there is
// no limit.
[[nodiscard]] std::uint64_t MaxFileSize() noexcept;

}  // namespace larder::platform
