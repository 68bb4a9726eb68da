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

  // The calls in order: "delete LIST" with the list's NULs as "|", "is empty PATH", "remove PATH".
  std::vector<std::string> calls;
};

// Each test resets it first. The common folders are "D:\data" and "D:\programs".
extern FakeFolders CurrentFolders;

}  // namespace larder
