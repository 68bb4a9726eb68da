// The runs of the logs directory. A run is what one logger has written: its current file and the
// older generations of that. Nothing here makes or changes a file.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/file.h"
#include "platform/wide.h"

namespace larder::tool {

// Path of a generation: 0 is the current file, 1 the youngest older one. run: path of the current
// file.
WideString GenerationPath(const WideString& run, std::uint32_t generation);

struct LogFile {
  WideString path;
  platform::FileInfo info;
};

struct LogRun {
  WideString path;             // of its current file, which needn't be there
  std::vector<LogFile> files;  // the current one first, then the younger before the older
  std::uint64_t lastModified;  // of all its files, as in FileInfo
};

// The logs directory with a backslash at its end. False, with the reason told, when the system
// doesn't name the folder that it lies in.
[[nodiscard]] bool FindLogsPath(WideString& path);

// All runs, the newest last. False, with the reason told, when something couldn't be read; the
// others are there.
[[nodiscard]] bool FindLogRuns(std::vector<LogRun>& runs);

}  // namespace larder::tool
