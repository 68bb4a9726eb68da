// The group folder of the seam, replaced by folders that nobody has and answers of the test's.
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

  // What was asked for, in order: "delete LIST" with the list's NULs as "|", "is empty PATH",
  // "remove PATH".
  std::vector<std::string> calls;
};

// Reset by the test before it begins. The common folders are "D:\data" and "D:\programs".
extern FakeFolders CurrentFolders;

}  // namespace larder
