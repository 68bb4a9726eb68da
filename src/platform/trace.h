// The system's trace facility.
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

// Called by the facility, on a thread of its own, whenever a controller starts, changes or ends a
// session; perhaps before RegisterTrace has returned. buffer is for the three functions below and
// holds *bufferSize bytes; the result is a system code.
using TraceControlFunction = Code (*)(std::uint32_t requestCode, void* context,
                                      std::uint32_t* bufferSize, void* buffer);
inline constexpr std::uint32_t kTraceEnableEvents = 4;
inline constexpr std::uint32_t kTraceDisableEvents = 5;

// Registers the caller's module under a control GUID. On failure registration is untouched.
Code RegisterTrace(TraceControlFunction function, void* context, const Guid& control,
                   std::uint64_t& registration) noexcept;
// After it the function isn't called any more.
Code UnregisterTrace(std::uint64_t registration) noexcept;

// What a controller asks for: the session's handle out of the buffer of kTraceEnableEvents, and
// from the handle its level and flags.
[[nodiscard]] std::uint64_t TraceSession(void* buffer) noexcept;
[[nodiscard]] std::uint8_t TraceSessionLevel(std::uint64_t session) noexcept;
[[nodiscard]] std::uint32_t TraceSessionFlags(std::uint64_t session) noexcept;

// Which header fields the facility adds to a message by itself.
inline constexpr std::uint32_t kTraceMessageSequence = 0x1;
inline constexpr std::uint32_t kTraceMessageGuid = 0x2;
inline constexpr std::uint32_t kTraceMessageTimestamp = 0x8;
inline constexpr std::uint32_t kTraceMessageSystemInfo = 0x20;

// Writes one message with one argument of size bytes to a session. Never blocks, never fails
// visibly: a message that the facility can't take is dropped.
void EmitTrace(std::uint64_t session, std::uint32_t messageFlags, const Guid& message,
               std::uint16_t number, const char* text, std::size_t size) noexcept;

}  // namespace larder::platform
