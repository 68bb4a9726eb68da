// Cancellation of threads (Linux: pthread_cancel). A client may cancel its thread while the thread
// is inside a call of the library or of a provider.
#pragma once

#include <cxxabi.h>

namespace larder::platform {

// Unwinds a thread that was cancelled or called pthread_exit. A handler that catches it must
// rethrow it, or the system ends the process. So a handler for this type, which rethrows, precedes
// each catch (...). Never thrown on Windows.
using ForcedUnwind = abi::__forced_unwind;

// While an object of this class exists, the thread that created it isn't cancelled; a pending
// cancellation takes effect later. The same thread destroys the object. Does nothing on Windows.
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
