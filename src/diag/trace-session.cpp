#include "diag/trace-session.h"

#include <cstring>

namespace larder {

constinit TraceControlBlock TraceBlock;
constinit const TraceControlBlock UnregisteredTraceBlock;
constinit std::atomic<const TraceControlBlock*> TraceControl{&UnregisteredTraceBlock};

void TraceOut(const char* line) noexcept {
  const TraceControlBlock* const block = TraceControl.load(std::memory_order_relaxed);
  if (block == &UnregisteredTraceBlock) return;
  // Tested again: the gate may have been opened by the disk test alone, or the session may have
  // gone.
  if ((block->flags.load(std::memory_order_relaxed) & kTraceFlag) == 0) return;
  if (block->level.load(std::memory_order_relaxed) < kTraceLevel) return;
  if (line == nullptr) line = "NULL";
  platform::EmitTrace(block->logger.load(std::memory_order_relaxed),
                      platform::kTraceMessageSequence | platform::kTraceMessageGuid |
                          platform::kTraceMessageTimestamp | platform::kTraceMessageSystemInfo,
                      kTraceMessageGuidValue, kTraceMessageNumber, line, std::strlen(line) + 1);
}

}  // namespace larder
