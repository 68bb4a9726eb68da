// Termination requests. On Linux, the signals SIGINT and SIGTERM. On Windows, what the console
// reports: Ctrl-C, Ctrl-Break, the closing of its window, log-off and shutdown.
#pragma once

#include "platform/event.h"
#include "platform/scoped-handle.h"

namespace larder::tool {

// During its lifetime, the first request only sets a flag and raises an event. A second one ends
// the program. After the last three of Windows' requests the program must end within some seconds.
// Must be constructed once in a program, and constructed and destroyed while there is
// no other thread.
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  [[nodiscard]] static bool HasCome() noexcept;
  // Raised by a request; null if the system couldn't create it.
  [[nodiscard]] platform::Handle Event() const noexcept { return event.Get(); }

 private:
  platform::OwnedHandle event;
};

}  // namespace larder::tool
