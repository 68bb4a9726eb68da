// Cancellation of threads (Linux: pthread_cancel). A client may cancel its thread while the thread
// is inside a call of the library or of a provider.
#pragma once

#include <cxxabi.h>

namespace larder::platform {

// Unwinds a thread that was cancelled or called pthread_exit. Nothing may catch it for good: the
// system then ends the process. So a handler of all exceptions comes behind one for this type,
// which rethrows. Never thrown on Windows.
using ForcedUnwind = abi::__forced_unwind;

// While an object of this class exists, its thread isn't cancelled; a cancellation that is pending
// takes effect later. For the thread that created it. Does nothing on Windows.
class CancellationBlock {
 public:
  CancellationBlock() noexcept;
  ~CancellationBlock();  // NOLINT(performance-trivially-destructible): not trivial on every system
  CancellationBlock(const CancellationBlock&) = delete;
  CancellationBlock& operator=(const CancellationBlock&) = delete;

 private:
  [[maybe_unused]] int stateBefore = 0;
};

}  // namespace larder::platform
