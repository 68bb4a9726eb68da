#include "tools/larder/status/trace-object.h"

namespace larder::tool {

TraceObject FindTraceObject(std::chrono::milliseconds) { return {}; }

}  // namespace larder::tool
