// The gate of the log statements: one word that says which sinks want lines. A statement that
// nobody wants costs one read of it.
#pragma once

#include <atomic>
#include <cstdint>

namespace larder {

// Bits of LogGate.
inline constexpr std::uint32_t kTraceSink = 1;  // a trace session wants lines now
inline constexpr std::uint32_t kDiskSink = 2;   // the process has had a listener; never cleared

// A bit is set by fetch_or and cleared by fetch_and, because another thread may change the other
// bit at the same time. Statements read the word without order: it protects no data, each sink
// checks by itself what it uses.
inline constinit std::atomic<std::uint32_t> LogGate{0};

inline bool IsLogGateOpen() noexcept { return LogGate.load(std::memory_order_relaxed) != 0; }

inline bool IsTraceEnabled() noexcept {
  return (LogGate.load(std::memory_order_relaxed) & kTraceSink) != 0;
}

inline bool IsDiskLogEnabled() noexcept {
  return (LogGate.load(std::memory_order_relaxed) & kDiskSink) != 0;
}

}  // namespace larder
