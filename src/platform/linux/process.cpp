#include "platform/process.h"

#include <pthread.h>
#include <sys/resource.h>

#include <limits>

namespace larder::platform {

void CallInForkedChild(void (*function)()) noexcept { pthread_atfork(nullptr, nullptr, function); }

std::uint64_t MaxFileSize() noexcept {
  rlimit limit{};
  const bool isSet = getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
  return isSet ? limit.rlim_cur : std::numeric_limits<std::uint64_t>::max();
}

}  // namespace larder::platform
