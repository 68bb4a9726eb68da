// The group file of the seam, replaced by one file that behaves as a test says.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/file.h"

namespace larder {

struct ScriptedFile {
  platform::Code openCode = platform::kSuccess;
  platform::Code infoCode = platform::kSuccess;
  platform::Code readCode = platform::kSuccess;  // after the bytes, in place of the end
  bool isEndless = false;                        // the bytes again and again, and no end
  std::string bytes;
  // What the first, second, ... look at the file tells; the last one goes on for ever.
  std::vector<platform::FileInfo> infos;

  int opened = 0;
  std::size_t bytesGiven = 0;
  std::size_t looks = 0;
};

// The file that the operations work on; made by the test before it calls them.
extern ScriptedFile CurrentFile;

}  // namespace larder
