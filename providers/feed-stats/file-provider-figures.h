// What the file provider of this process has to tell about itself.
#pragma once

#include "common/file-figures.h"

namespace larder::feed {

// Zeros where the module that the registry names for the file provider isn't loaded.
FileFigures FileProviderFigures();

}  // namespace larder::feed
