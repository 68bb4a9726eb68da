// What happens to the process as a whole.
#pragma once

namespace larder::platform {

// Has a function called in the child of every fork from now on, before fork returns there, until
// the calling module is unloaded. Nothing where processes aren't forked.
void CallInForkedChild(void (*function)()) noexcept;

}  // namespace larder::platform
