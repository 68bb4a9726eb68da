#include "tools/larder/cli/module-search.h"

namespace larder::tool {

void LeaveCurrentFolderOutOfSearch() noexcept {}

}  // namespace larder::tool
