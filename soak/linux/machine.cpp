#include "soak/machine.h"

#include <stdlib.h>

namespace larder::soak {

void UseMachine(const std::filesystem::path& folder) {
  ::setenv("LARDER_ROOT", (folder / "root").c_str(), 1);
}

std::filesystem::path StoreParent(const std::filesystem::path& folder) {
  return folder / "root/var/lib/Velmor/Larder/db/feed-file";
}

}  // namespace larder::soak
