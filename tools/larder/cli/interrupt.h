// The wish that the program end: Ctrl-C on the console, or a signal to end (SIGINT, SIGTERM).
#pragma once

#include "platform/event.h"
#include "support/scoped-handles.h"

namespace larder::tool {

// While it lives, the first such wish is only noted; a second one ends the program at once. One in
// a program's life, made and destroyed while there is no other thread.
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  [[nodiscard]] static bool HasCome() noexcept;
  // Raised when it has come; null if the system had no event.
  [[nodiscard]] platform::Handle Event() const noexcept { return event.Get(); }

 private:
  AutoHandle event;
};

}  // namespace larder::tool
