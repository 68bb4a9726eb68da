// The object by which the library takes part in trace sessions: liblarder-lttng.so on Linux.
// Windows needs none.
#pragma once

#include <chrono>
#include <string>

#include "platform/wide.h"

namespace larder::tool {

struct TraceObject {
  WideString path;       // where the library of this installation looks; empty on Windows
  bool isThere = false;  // without it programs work as with it, but no session has their lines
  std::string fault;     // why the library can't use an object that is there
};

// limit: the time that the object may take to load. It is loaded in a child process, because it
// starts threads.
[[nodiscard]] TraceObject FindTraceObject(std::chrono::milliseconds limit);

}  // namespace larder::tool
