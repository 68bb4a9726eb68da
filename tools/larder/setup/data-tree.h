// The folders for the logs and for the file provider's store.
#pragma once

#include "tools/larder/cli/output.h"

namespace larder::tool {

// Creates the folders that don't exist, with rights that keep other users from changing them
// (platform/folder-access.h), and prints each one. On Windows existing folders that have inherited
// the common data folder's rights get these rights as well, except for the store's. Returns false,
// after an error message, at the first folder that can't be created or that isn't trusted; it is
// left as it is. hasChanged: set to true if anything was created or changed.
[[nodiscard]] bool SetUpDataTree(Output& output, bool& hasChanged);

}  // namespace larder::tool
