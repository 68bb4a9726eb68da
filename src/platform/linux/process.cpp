#include "platform/process.h"

#include <pthread.h>

namespace larder::platform {

void CallInForkedChild(void (*function)()) noexcept { pthread_atfork(nullptr, nullptr, function); }

}  // namespace larder::platform
