// The system's trace sessions: Event Tracing for Windows (ETW), LTTng on Linux. The operations are
// those of ETW. On Linux registration fails with kNotSupported unless the object liblarder-lttng.so
// lies beside the library; GUIDs, numbers and flags have no meaning there.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/code.h"

namespace larder::platform {

struct Guid {
  std::uint32_t data1;
  std::uint16_t data2;
  std::uint16_t data3;
  std::uint8_t data4[8];
};

// Called on a thread of the system's whenever a controller starts, changes or ends a session,
// possibly before RegisterTrace has returned. On Linux this is up to a quarter of a second later,
// but RegisterTrace itself calls the function if a session is on. buffer has *bufferSize bytes and
// is for TraceSession.
using TraceControlFunction = Code (*)(std::uint32_t requestCode, void* context,
                                      std::uint32_t* bufferSize, void* buffer);
inline constexpr std::uint32_t kTraceEnableEvents = 4;
inline constexpr std::uint32_t kTraceDisableEvents = 5;

// Registers a provider under its control GUID. On Linux there is one at a time.
Code RegisterTrace(TraceControlFunction function, void* context, const Guid& control,
                   std::uint64_t& registration) noexcept;
// Afterwards the function isn't called any more. On Linux the child of a fork is in no session; if
// the program runs with liblttng-ust-fork.so, the child is registered anew.
Code UnregisterTrace(std::uint64_t registration) noexcept;

// The session's handle, from the buffer of a kTraceEnableEvents request, and the level and flags
// that the controller has set for the session.
[[nodiscard]] std::uint64_t TraceSession(void* buffer) noexcept;
[[nodiscard]] std::uint8_t TraceSessionLevel(std::uint64_t session) noexcept;
[[nodiscard]] std::uint32_t TraceSessionFlags(std::uint64_t session) noexcept;

// The header fields that ETW adds to a message; LTTng has its own.
inline constexpr std::uint32_t kTraceMessageSequence = 0x1;
inline constexpr std::uint32_t kTraceMessageGuid = 0x2;
inline constexpr std::uint32_t kTraceMessageTimestamp = 0x8;
inline constexpr std::uint32_t kTraceMessageSystemInfo = 0x20;

// Writes a message, with text as its only argument, to a session. Never blocks. A message that the
// system can't take is dropped: one that finds its buffers full, or has more than 64 KiB. ETW and
// LTTng count the former; for the latter LTTng's session has an event larder:dropped_line.
void EmitTrace(std::uint64_t session, std::uint32_t messageFlags, const Guid& message,
               std::uint16_t number, const char* text, std::size_t size) noexcept;

}  // namespace larder::platform
