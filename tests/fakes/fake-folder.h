// The platform group "folder", replaced by one that returns what a test sets.
#pragma once

#include <string>
#include <vector>

#include "platform/folder.h"

namespace larder {

struct FakeFolders {
  platform::Code commonFolderCode = platform::kSuccess;
  int deleteResult = 0;
  bool isEmpty = true;
  platform::Code removeCode = platform::kSuccess;

  std::vector<std::string> calls;  // "is empty PATH", "delete LIST" with its NULs as "|", ...
};

// Each test resets it first. The common folders are "D:\data" and "D:\programs".
extern FakeFolders CurrentFolders;

}  // namespace larder
