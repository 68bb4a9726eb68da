// Folders whose paths the system takes in its long form only.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include "platform/wide.h"

namespace larder::platform {

// Makes one, and gives its path in the plain form, a backslash at its end.
inline WideString MakeLongFolder(const WideString& parent) {
  WideString folder = L"\\\\?\\" + parent;
  for (int level = 0; level < 4; ++level) {
    folder += WideString(100, L'd') + L'\\';
    EXPECT_NE(CreateDirectoryW(folder.c_str(), nullptr), FALSE);
  }
  return folder.substr(4);
}

}  // namespace larder::platform
