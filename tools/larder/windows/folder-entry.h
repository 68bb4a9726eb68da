// An entry of a folder, from what the system lists.
#pragma once

#include <windows.h>

#include "tools/larder/scan/folder-cursor.h"

namespace larder::tool {

[[nodiscard]] FolderEntry EntryOf(const WIN32_FIND_DATAW& found);

}  // namespace larder::tool
