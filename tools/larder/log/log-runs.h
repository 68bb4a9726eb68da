// The runs in the logs directory. A run is what one logger has written: its current file and the
// older generations of that file. Nothing here creates or changes a file.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/file.h"
#include "platform/wide.h"

namespace larder::tool {

// The path of a generation: 0 is the current file, 1 the newest of the older ones. run: path of the
// current file.
WideString GenerationPath(const WideString& run, std::uint32_t generation);

struct LogFile {
  WideString path;
  platform::FileInfo info;
};

struct LogRun {
  WideString path;             // of its current file, which may be missing
  std::vector<LogFile> files;  // from the newest to the oldest
  std::uint64_t lastModified;  // the latest of all its files, as in FileInfo
};

// The path of the logs directory, with a backslash at its end. If the system doesn't return the
// folder above it, prints the reason and returns false.
[[nodiscard]] bool FindLogsPath(WideString& path);

// Appends all runs, the newest last, whether their files may be read or not. If something can't be
// queried, prints the reason and returns false; runs has the others then.
[[nodiscard]] bool FindLogRuns(std::vector<LogRun>& runs);

}  // namespace larder::tool
