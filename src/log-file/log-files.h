// Whether a process has a log on disk, where it lies, and what lies there.
//
// Logging is on if the registry's value szEnable under "Logging" is exactly "true" at the moment
// when the library builds its handle. Each run of a process then writes "lr_<number>.log" in the
// logs directory and keeps five older generations, ".1" (the youngest) to ".5". Nothing here
// deletes a log. No failure is reported: a logger that can't be made means a library without a log.
#pragma once

#include <vector>

#include "log-file/disk-logger.h"
#include "platform/wide.h"

namespace larder {

bool IsLoggingEnabled();
void EnableLogging();

// The logs directory, made with the levels above it, with name behind it; as far as it could be
// made.
WideString GetLogDirectory(const WideString& name);

// A logger in the listener list, or null when logging is off or no name could be drawn. prefix:
// three characters. Owned by the caller until DestroyDiskLogger, which takes it out of the list and
// returns when its lines are on disk; null is allowed there.
DiskLogger* CreateDiskLogger(const WideString& prefix);
void DestroyDiskLogger(DiskLogger* logger);

// The logger of the handle that was built last; kept, stale, after the last release. Guarded by the
// handle's lock.
extern DiskLogger* CurrentDiskLogger;

// The logs directory; nothing is made.
WideString GetLarderLogPath();
// Full paths of what matches a pattern ('*', '?') in the logs directory, in the system's order.
std::vector<WideString> GetLogFiles(const WideString& pattern);
// The log files of the file provider.
std::vector<WideString> GetFeedFileLogFiles();
// The directory "samples\" beside the host process's image.
WideString GetSamplesPath();

}  // namespace larder
