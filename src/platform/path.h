// Paths as names of files.
#pragma once

#include "platform/wide.h"

namespace larder::platform {

// Paths that name the same file but differ in case have one form in common, which this returns;
// where file names are case-sensitive, it returns the path itself.
[[nodiscard]] WideString FoldCase(WideString path);

}  // namespace larder::platform
