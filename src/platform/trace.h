// The system's trace facility.
#pragma once

#include <cstddef>
#include <cstdint>

namespace larder::platform {

struct Guid {
  std::uint32_t data1;
  std::uint16_t data2;
  std::uint16_t data3;
  std::uint8_t data4[8];
};

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
