#include "platform/process.h"

namespace larder::platform {

// No process here begins as a copy of another.
void CallInForkedChild(void (*)()) noexcept {}

}  // namespace larder::platform
