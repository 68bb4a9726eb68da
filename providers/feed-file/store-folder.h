// The folders of the store.
//
// The folder "feed-file\" in the product's database directory contains "store\", the store itself;
// "turn.lock"; and possibly "set-aside\", the last store that was found to be damaged or of another
// format.
#pragma once

#include "platform/wide.h"

namespace larder::feed {

// Creates the store's folder and the levels above it. Returns its path, without a backslash at the
// end. Throws std::runtime_error, with the path and the reason, if a folder can't be created.
WideString MakeStoreFolder();

// The lock file by which processes take turns at writing. It is beside the store's folder, so that
// it remains when a store is set aside.
WideString TurnFile(const WideString& storeFolder);

// Creates the store's folder if it doesn't exist, and removes the files of an earlier version's
// store from it. Throws StoreError: a damage, if something else has the folder's name.
void PrepareStoreFolder(const WideString& storeFolder);

// Renames the store's folder to "set-aside", replacing what has that name, and creates an empty
// folder in its place. Returns the new path. The store must not be open in this process. Throws
// std::runtime_error as MakeStoreFolder does; on some systems it fails while another process has
// the store open.
WideString SetStoreAside(const WideString& storeFolder);

}  // namespace larder::feed
