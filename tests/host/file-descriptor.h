// An object descriptor of a test's own making.
#pragma once

#include <larder/larder.h>

#include <algorithm>

#include "platform/wide.h"

namespace larder {

struct TestDescriptor {
  explicit TestDescriptor(WideView path) { path.copy(filePath, std::size(filePath) - 1); }

  std::uint32_t lastModified[2] = {0, 0};
  LarderWideChar filePath[260] = {};
};

}  // namespace larder
