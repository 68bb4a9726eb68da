// The access list of a folder or file.
#pragma once

#include <windows.h>

#include <string>

#include "platform/folder-access.h"

namespace larder::platform {

// Why the list lets others write, as FolderDistrust returns it. Null stands for a list that grants
// everything to everybody, as for the system.
[[nodiscard]] std::string ListDistrust(PACL list, OtherUsers others);

}  // namespace larder::platform
