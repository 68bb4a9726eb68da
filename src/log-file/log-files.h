// Whether a process writes a log on disk, and where the logs are.
//
// Logging is on if the value szEnable of the registry key "Logging" is exactly "true" when the
// library builds its handle. The process then writes "lr_<number>.log" in the logs directory and
// keeps five older generations, ".1" (the youngest) to ".5". Nothing here deletes a log. Failures
// aren't reported: if the logger can't be created, the library runs without a log.
#pragma once

#include <vector>

#include "log-file/disk-logger.h"
#include "platform/wide.h"

namespace larder {

bool IsLoggingEnabled();
void EnableLogging();

// Creates the logs directory with the levels above it, and returns its path followed by name, or
// the path as far as it could be created.
WideString GetLogDirectory(const WideString& name);

// Creates a logger and adds it to the listener list. Null if logging is off, if other users could
// replace or redirect the logs directory (see platform/folder-access.h), or if no file name was
// free; on Linux a name isn't free if this process couldn't append to its file. prefix: three
// characters. The caller owns the logger and passes it to DestroyDiskLogger, which removes it from
// the list and returns when its lines have been written; null is allowed.
DiskLogger* CreateDiskLogger(const WideString& prefix);
void DestroyDiskLogger(DiskLogger* logger);

// The logger of the handle that was built last; dangling after the last release. Guarded by the
// handle's lock.
extern DiskLogger* CurrentDiskLogger;

// The logs directory; nothing is created.
WideString GetLarderLogPath();
// Full paths of the files in the logs directory that match a pattern ('*', '?'), in the system's
// order. If reading the directory fails midway, those found until then.
std::vector<WideString> GetLogFiles(const WideString& pattern);
// The log files of the file provider.
std::vector<WideString> GetFeedFileLogFiles();
// The directory "samples\" next to the host process's image.
WideString GetSamplesPath();

}  // namespace larder
