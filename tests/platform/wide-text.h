// Wide texts for tests of every system.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/utf.h"

namespace larder::platform {

inline WideString Wide(const std::string& utf8) {
  WideString wide;
  EXPECT_TRUE(WideFromUtf8(utf8, wide));
  return wide;
}

}  // namespace larder::platform
