// The folders of the store.
//
// The folder "feed-file\" in the product's database directory contains "store\", the store itself;
// "turn.lock"; and possibly "set-aside\", the last store that was found to be damaged or of another
// format.
#pragma once

#include <cstdint>

#include "platform/wide.h"

namespace larder::feed {

// Creates the store's folder and the levels above it. Returns its path, without a backslash at the
// end. Throws std::runtime_error, with the path and the reason, if a folder can't be created.
WideString MakeStoreFolder();

// The lock file by which processes take turns at writing. It is beside the store's folder, so that
// it remains when a store is set aside.
WideString TurnFile(const WideString& storeFolder);

// The file index of the store's data file; 0 if the file doesn't exist.
std::uint64_t StoreIndex(const WideString& storeFolder);

// Renames the store's folder to "set-aside", replacing what has that name, and creates an empty
// folder in its place. Returns the new path. The store must not be open in this process. Throws as
// MakeStoreFolder does; on some systems it fails while another process has the store open.
WideString SetStoreAside(const WideString& storeFolder);

}  // namespace larder::feed
