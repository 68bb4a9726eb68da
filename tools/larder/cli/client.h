// The library as its clients have it: exports only.
#pragma once

#include <larder/larder.h>

namespace larder::tool {

// LarderInit. False, with the reason told on standard error, when there is no handle. Then the log
// of the attempt, if there is one, has been given time to reach the disk.
[[nodiscard]] bool StartLibrary(LarderNotifyCallback callback, LarderHandle& handle);

// LarderRelease, once for each good StartLibrary. False, with the reason told, when it fails.
[[nodiscard]] bool EndLibrary();

}  // namespace larder::tool
