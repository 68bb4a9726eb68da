#include "feed-file/engine-system.h"

namespace larder::feed {

void AdaptEngine() noexcept {}

void CloseEngineFilesInForkedChild() noexcept {}

}  // namespace larder::feed
