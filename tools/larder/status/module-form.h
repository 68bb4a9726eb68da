// Whether a module's file is there, and what sort of file it is, by its first bytes.
#pragma once

#include <string>

#include "platform/wide.h"

namespace larder::tool {

bool IsThere(const WideString& path);

// Why no process of this system and machine can load the file, as far as its head tells ("it is a
// 32-bit module"); empty for one that has the right form, and for one that can't be read.
std::string DescribeForeignModule(const WideString& path);

}  // namespace larder::tool
