// Event Tracing for Windows (ETW). On Linux there is none: registration fails with kNotSupported.
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

// Called by ETW, on a thread of its own, whenever a controller starts, changes or ends a session,
// possibly before RegisterTrace has returned. buffer has *bufferSize bytes and is for TraceSession.
using TraceControlFunction = Code (*)(std::uint32_t requestCode, void* context,
                                      std::uint32_t* bufferSize, void* buffer);
inline constexpr std::uint32_t kTraceEnableEvents = 4;
inline constexpr std::uint32_t kTraceDisableEvents = 5;

// Registers a provider under its control GUID.
Code RegisterTrace(TraceControlFunction function, void* context, const Guid& control,
                   std::uint64_t& registration) noexcept;
// Afterwards the function isn't called any more.
Code UnregisterTrace(std::uint64_t registration) noexcept;

// The session's handle, from the buffer of a kTraceEnableEvents request, and the level and flags
// that the controller has set for the session.
[[nodiscard]] std::uint64_t TraceSession(void* buffer) noexcept;
[[nodiscard]] std::uint8_t TraceSessionLevel(std::uint64_t session) noexcept;
[[nodiscard]] std::uint32_t TraceSessionFlags(std::uint64_t session) noexcept;

// The header fields that ETW adds to a message.
inline constexpr std::uint32_t kTraceMessageSequence = 0x1;
inline constexpr std::uint32_t kTraceMessageGuid = 0x2;
inline constexpr std::uint32_t kTraceMessageTimestamp = 0x8;
inline constexpr std::uint32_t kTraceMessageSystemInfo = 0x20;

// Writes a message, with text as its only argument, to a session. Never blocks. A message that ETW
// can't take is dropped silently.
void EmitTrace(std::uint64_t session, std::uint32_t messageFlags, const Guid& message,
               std::uint16_t number, const char* text, std::size_t size) noexcept;

}  // namespace larder::platform
