#include "platform/linux/lttng-object.h"

#define LTTNG_UST_COMPAT_API_VERSION 1
#define LTTNG_UST_TRACEPOINT_CREATE_PROBES
#define LTTNG_UST_TRACEPOINT_DEFINE
#define LTTNG_UST_TRACEPOINT_HIDDEN_DEFINITION
#define LTTNG_UST_TRACEPOINT_PROVIDER_HIDDEN_DEFINITION
#include "platform/linux/lttng-tracepoints.h"

namespace larder::platform {
namespace {

bool IsEnabled() noexcept { return lttng_ust_tracepoint_enabled(larder, line) != 0; }

void RecordLine(const char* line) noexcept { lttng_ust_tracepoint(larder, line, line); }

void RecordDroppedLine(std::size_t size) noexcept {
  lttng_ust_tracepoint(larder, dropped_line, size);
}

constexpr LttngObject kObject = {&IsEnabled, &RecordLine, &RecordDroppedLine};

}  // namespace

extern "C" __attribute__((visibility("default"))) const LttngObject* LarderLttngObject1() noexcept {
  return &kObject;
}

}  // namespace larder::platform
