// This program's file, and the modules that were built for these tests; see fixtures/.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "platform/module.h"
#include "platform/utf.h"

namespace larder::platform {

inline std::filesystem::path ThisProgram() {
  WideString image;
  EXPECT_EQ(HostImagePath(image), kSuccess);
  std::string path = Utf8FromWide(image);
  std::replace(path.begin(), path.end(), '\\', '/');
  return std::filesystem::u8path(path);
}

inline std::filesystem::path FixtureFolder() {
  return ThisProgram().parent_path() / "platform-fixtures";
}

}  // namespace larder::platform
