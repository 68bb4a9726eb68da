// Paths as names of files.
#pragma once

#include "platform/wide.h"

namespace larder::platform {

// Paths that name the same file but differ in case have one form in common, which this returns;
// where file names are case-sensitive, it returns the path itself. memory: holds the result if it
// isn't the path.
[[nodiscard]] WideView FoldCase(WideView path, WideString& memory);

}  // namespace larder::platform
