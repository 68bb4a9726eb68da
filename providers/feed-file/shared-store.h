// The store of the process: an LMDB environment may be opened once in it, whatever the number of
// provider's objects.
#pragma once

#include <memory>

#include "feed-file/fact-store.h"

namespace larder::feed {

// Opened for the first that asks, and closed when the last has let it go. dwStoreLimitMiB of the
// registry's key DataProviders\FeedFile limits its size. The child of a fork gets one of its own:
// what it has from its parent it mustn't use.
std::shared_ptr<FactStore> SharedStore();

// Zeros while nobody has it.
FileFigures SharedFigures();

}  // namespace larder::feed
