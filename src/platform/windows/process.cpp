#include "platform/process.h"

#include <limits>

namespace larder::platform {

void CallInForkedChild(void (*)()) noexcept {}

std::uint64_t MaxFileSize() noexcept { return std::numeric_limits<std::uint64_t>::max(); }

}  // namespace larder::platform
