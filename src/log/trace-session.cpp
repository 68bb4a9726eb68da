#include "log/trace-session.h"

#include <cstring>

#include "log/log-gate.h"

namespace larder {

constinit TraceControlBlock TraceBlock;
constinit const TraceControlBlock UnregisteredTraceBlock;
constinit std::atomic<const TraceControlBlock*> TraceControl{&UnregisteredTraceBlock};

namespace {

bool WantsLines(const TraceControlBlock& block) noexcept {
  // Acquire: whoever sees a session's flags sees its level and its handle too.
  return (block.flags.load(std::memory_order_acquire) & kTraceFlag) != 0 &&
         block.level.load(std::memory_order_relaxed) >= kTraceLevel;
}

// Looks again afterwards: of several threads the last one to change the gate sees what all of them
// stored before, so the gate ends as the block does.
void PublishTraceSink() noexcept {
  bool isWanted = false;
  do {
    isWanted = WantsLines(*TraceControl.load());
    if (isWanted) {
      LogGate.fetch_or(kTraceSink);
    } else {
      LogGate.fetch_and(~kTraceSink);
    }
  } while (WantsLines(*TraceControl.load()) != isWanted);
}

}  // namespace

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
  PublishTraceSink();
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
  PublishTraceSink();
  return platform::kSuccess;
}

void TraceOut(const char* line) noexcept {
  const TraceControlBlock* const block = TraceControl.load(std::memory_order_relaxed);
  if (block == &UnregisteredTraceBlock) return;
  // Checked again: the gate may be open for the disk alone, or the session may have ended.
  if (!WantsLines(*block)) return;
  if (line == nullptr) line = "NULL";
  platform::EmitTrace(block->logger.load(std::memory_order_relaxed),
                      platform::kTraceMessageSequence | platform::kTraceMessageGuid |
                          platform::kTraceMessageTimestamp | platform::kTraceMessageSystemInfo,
                      kTraceMessageGuidValue, kTraceMessageNumber, line, std::strlen(line) + 1);
}

}  // namespace larder
