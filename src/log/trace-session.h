// The trace sink: a session that an outside controller switches on and off while the host runs.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/trace.h"

namespace larder {

// What a session has asked for. One instance, TraceBlock, in static storage. The facility's thread
// writes it with no lock while statements read it: a reader may see level and flags of two
// sessions, which costs or gains at most one line. The fields' order and widths are the facility's
// convention.
struct TraceControlBlock {
  TraceControlBlock* next = nullptr;                 // always null: there is one block
  std::atomic<std::uint64_t> registrationHandle{0};  // 0: not registered
  std::atomic<std::uint64_t> logger{0};              // the session's handle; 0: no session
  std::uint8_t flagsLength = 1;                      // number of 32-bit words in flags
  std::atomic<std::uint8_t> level{0};                // asked for by the session
  std::uint16_t options = 0;
  std::atomic<std::uint32_t> flags{0};  // asked for by the session
};

extern TraceControlBlock TraceBlock;

// Stands for "not registered". It stays zero, so that the gate, which reads through TraceControl
// without a test of its own, is closed in that state.
extern const TraceControlBlock UnregisteredTraceBlock;

// The block through which statements look: TraceBlock between attach and detach of the module,
// otherwise UnregisteredTraceBlock.
extern std::atomic<const TraceControlBlock*> TraceControl;

inline constexpr std::uint32_t kTraceFlag = 0x2;
inline constexpr std::uint8_t kTraceLevel = 4;  // information, in the facility's numbering

// The name by which a controller addresses this library.
inline constexpr platform::Guid kTraceControlGuid = {
    0x3be0f7d4, 0x8a61, 0x4c0e, {0xb5, 0x27, 0x19, 0x6f, 0xd2, 0x43, 0xa8, 0x7c}};

// Tells the decoder of a session how to format the lines, with kTraceMessageNumber.
inline constexpr platform::Guid kTraceMessageGuidValue = {
    0x6d1a6c5e, 0x2f0b, 0x4e57, {0x9c, 0x3a, 0x71, 0xe4, 0x0d, 0x58, 0xb2, 0x96}};
inline constexpr std::uint16_t kTraceMessageNumber = 10;

// The trace test of a statement.
inline bool IsTraceEnabled() noexcept {
  const TraceControlBlock* const block = TraceControl.load(std::memory_order_relaxed);
  return (block->flags.load(std::memory_order_relaxed) & kTraceFlag) != 0 &&
         block->level.load(std::memory_order_relaxed) >= kTraceLevel;
}

// Attach and detach of the module. A registration that fails leaves the block at level 0 and flags
// 0, and everything else works; a second detach does nothing.
void AttachTrace() noexcept;
void DetachTrace() noexcept;

// Stores what a controller asks for, or that it asks for nothing any more, in the block that
// context points to. kInvalidParameter, with nothing stored, for any other request. Never fails
// otherwise; the facility calls it on a thread of its own.
platform::Code TraceControlCallback(std::uint32_t requestCode, void* context,
                                    std::uint32_t* bufferSize, void* buffer) noexcept;

// Sends one line to the session, if there is one that wants it. Null is sent as "NULL".
void TraceOut(const char* line) noexcept;

}  // namespace larder
