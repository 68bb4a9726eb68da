// The folders of the store.
//
// The folder "feed-file\" in the product's database directory contains "store\", the store itself;
// "turn.lock"; and possibly "set-aside\", the last store that was found to be damaged or of another
// format. A store that another user could have written isn't used; platform/folder-access.h states
// the conditions for its folder and for those above it.
#pragma once

#include "platform/wide.h"

namespace larder::feed {

// Creates the folders above the store's folder, and returns its path, without a backslash at the
// end. Throws std::runtime_error, with the path and the reason, if one of them can't be created or
// isn't trusted.
WideString MakeStoreFolder();

// The lock file by which processes take turns at writing. It is beside the store's folder, so that
// it remains when a store is set aside.
WideString TurnFile(const WideString& storeFolder);

// Creates the store's folder if it doesn't exist, and removes the files of an earlier version's
// store from it. Throws StoreError with the reason if it can't be created, or if the folder or a
// file in it isn't trusted; a damage, if something else has the folder's name.
void PrepareStoreFolder(const WideString& storeFolder);

// Renames the store's folder to "set-aside", replacing what has that name, and creates an empty
// folder in its place. If what has that name can't be deleted, the name is "set-aside-2", "-3" or
// "-4". Returns the new path. The store must not be open in this process. Throws std::runtime_error
// as MakeStoreFolder does; on some systems it fails while another process has the store open.
WideString SetStoreAside(const WideString& storeFolder);

}  // namespace larder::feed
