#include "log/trace-session.h"

#include <cstring>

namespace larder {

constinit TraceControlBlock TraceBlock;
constinit const TraceControlBlock UnregisteredTraceBlock;
constinit std::atomic<const TraceControlBlock*> TraceControl{&UnregisteredTraceBlock};

void AttachTrace() noexcept {
  TraceBlock.logger = 0;
  TraceBlock.next = nullptr;
  TraceBlock.flagsLength = 1;
  TraceBlock.level = 0;
  TraceBlock.options = 0;
  TraceBlock.flags = 0;
  TraceControl = &TraceBlock;
  for (TraceControlBlock* block = &TraceBlock; block != nullptr; block = block->next) {
    std::uint64_t handle = 0;
    platform::RegisterTrace(&TraceControlCallback, block, kTraceControlGuid, handle);
    block->registrationHandle = handle;
  }
}

void DetachTrace() noexcept {
  if (TraceControl.load() == &UnregisteredTraceBlock) return;
  for (TraceControlBlock* block = &TraceBlock; block != nullptr; block = block->next) {
    const std::uint64_t handle = block->registrationHandle.exchange(0);
    if (handle != 0) platform::UnregisterTrace(handle);
  }
  TraceControl = &UnregisteredTraceBlock;
}

platform::Code TraceControlCallback(std::uint32_t requestCode, void* context,
                                    std::uint32_t* bufferSize, void* buffer) noexcept {
  *bufferSize = 0;
  std::uint64_t logger = 0;
  std::uint8_t level = 0;
  std::uint32_t flags = 0;
  if (requestCode == platform::kTraceEnableEvents) {
    logger = platform::TraceSession(buffer);
    level = platform::TraceSessionLevel(logger);
    flags = platform::TraceSessionFlags(logger);
  } else if (requestCode != platform::kTraceDisableEvents) {
    return platform::kInvalidParameter;
  }
  auto* const block = static_cast<TraceControlBlock*>(context);
  block->level.store(level, std::memory_order_relaxed);
  block->logger.store(logger, std::memory_order_relaxed);
  // Last, with release: a statement that sees these flags sees this session too.
  block->flags.store(flags, std::memory_order_release);
  return platform::kSuccess;
}

void TraceOut(const char* line) noexcept {
  const TraceControlBlock* const block = TraceControl.load(std::memory_order_relaxed);
  if (block == &UnregisteredTraceBlock) return;
  // Checked again: the gate may be open for the disk alone, or the session may have ended.
  if ((block->flags.load(std::memory_order_acquire) & kTraceFlag) == 0) return;
  if (block->level.load(std::memory_order_relaxed) < kTraceLevel) return;
  if (line == nullptr) line = "NULL";
  platform::EmitTrace(block->logger.load(std::memory_order_relaxed),
                      platform::kTraceMessageSequence | platform::kTraceMessageGuid |
                          platform::kTraceMessageTimestamp | platform::kTraceMessageSystemInfo,
                      kTraceMessageGuidValue, kTraceMessageNumber, line, std::strlen(line) + 1);
}

}  // namespace larder
