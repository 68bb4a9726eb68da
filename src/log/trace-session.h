// The trace sink: a session of the system's, which a controller starts and stops from outside while
// the host runs. The words are those of ETW; platform/trace.h says what Linux makes of them.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/trace.h"

namespace larder {

// What the session has requested. One static instance, TraceBlock. The system's thread writes it
// without a lock while statements read it: a reader may see the level of one session and the flags
// of the next, which adds or loses at most one line. The order and widths of the fields are ETW's
// convention for tracing by messages (WPP).
struct TraceControlBlock {
  TraceControlBlock* next = nullptr;                 // always null: there is one block
  std::atomic<std::uint64_t> registrationHandle{0};  // 0: not registered
  std::atomic<std::uint64_t> logger{0};              // the session's handle; 0: no session
  std::uint8_t flagsLength = 1;                      // number of 32-bit words in flags
  std::atomic<std::uint8_t> level{0};                // requested by the session
  std::uint16_t options = 0;
  std::atomic<std::uint32_t> flags{0};  // requested by the session
};

extern TraceControlBlock TraceBlock;

// The block while the library isn't registered. It stays zero: no session wants lines.
extern const TraceControlBlock UnregisteredTraceBlock;

// The block that counts: TraceBlock while the module is attached, otherwise
// UnregisteredTraceBlock.
extern std::atomic<const TraceControlBlock*> TraceControl;

inline constexpr std::uint32_t kTraceFlag = 0x2;
inline constexpr std::uint8_t kTraceLevel = 4;  // TRACE_LEVEL_INFORMATION

// The GUID by which a controller addresses this library.
inline constexpr platform::Guid kTraceControlGuid = {
    0x3be0f7d4, 0x8a61, 0x4c0e, {0xb5, 0x27, 0x19, 0x6f, 0xd2, 0x43, 0xa8, 0x7c}};

// With kTraceMessageNumber, selects the format of the lines in a decoder.
inline constexpr platform::Guid kTraceMessageGuidValue = {
    0x6d1a6c5e, 0x2f0b, 0x4e57, {0x9c, 0x3a, 0x71, 0xe4, 0x0d, 0x58, 0xb2, 0x96}};
inline constexpr std::uint16_t kTraceMessageNumber = 10;

// Called when the module is attached and detached. A failed registration leaves level and flags at
// 0 and has no other effect. A second detach does nothing.
void AttachTrace() noexcept;
void DetachTrace() noexcept;

// Stores what a controller requests in the TraceControlBlock that context points to: a session's
// handle, level and flags, or zeros when the session ends, and opens or closes the gate
// (log-gate.h) for the trace. kInvalidParameter, with nothing stored, for any other request code.
// The system calls it on a thread of its own.
platform::Code TraceControlCallback(std::uint32_t requestCode, void* context,
                                    std::uint32_t* bufferSize, void* buffer) noexcept;

// Sends one line to the session, if one has enabled it. Null is sent as "NULL".
void TraceOut(const char* line) noexcept;

}  // namespace larder
