// The tracepoints of liblarder-lttng.so. LTTng's headers include this file several times.
#undef LTTNG_UST_TRACEPOINT_PROVIDER
#define LTTNG_UST_TRACEPOINT_PROVIDER larder

#undef LTTNG_UST_TRACEPOINT_INCLUDE
#define LTTNG_UST_TRACEPOINT_INCLUDE "platform/linux/lttng-tracepoints.h"

#if !defined(LARDER_LTTNG_TRACEPOINTS) || defined(LTTNG_UST_TRACEPOINT_HEADER_MULTI_READ)
#define LARDER_LTTNG_TRACEPOINTS

#include <lttng/tracepoint.h>

#include <cstddef>

// clang-format off
LTTNG_UST_TRACEPOINT_EVENT(larder, line,
  LTTNG_UST_TP_ARGS(const char*, line),
  LTTNG_UST_TP_FIELDS(lttng_ust_field_string(line, line)))
LTTNG_UST_TRACEPOINT_LOGLEVEL(larder, line, LTTNG_UST_TRACEPOINT_LOGLEVEL_INFO)

// In place of a line that is too long; size: its bytes, with the terminator.
LTTNG_UST_TRACEPOINT_EVENT(larder, dropped_line,
  LTTNG_UST_TP_ARGS(std::size_t, size),
  LTTNG_UST_TP_FIELDS(lttng_ust_field_integer(std::size_t, size, size)))
LTTNG_UST_TRACEPOINT_LOGLEVEL(larder, dropped_line, LTTNG_UST_TRACEPOINT_LOGLEVEL_INFO)
// clang-format on

#endif

#include <lttng/tracepoint-event.h>
