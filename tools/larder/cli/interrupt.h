// Termination requests: Ctrl-C on the console, or one of the signals SIGINT and SIGTERM.
#pragma once

#include "platform/event.h"
#include "support/scoped-handles.h"

namespace larder::tool {

// During its lifetime, the first request only sets a flag and raises an event. A second one ends
// the program. Must be constructed once in a program, and constructed and destroyed while there is
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
  AutoHandle event;
};

}  // namespace larder::tool
