#include "tools/larder/cli/interrupt.h"

#include <signal.h>

#include <atomic>
#include <cerrno>

namespace larder::tool {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM};

std::atomic<bool> Came;
std::atomic<platform::Handle> CurrentEvent;
static_assert(std::atomic<bool>::is_always_lock_free &&
              std::atomic<platform::Handle>::is_always_lock_free);

}  // namespace

extern "C" {
// Runs in the middle of anything.
static void NoteInterrupt(int number) {
  const int before = errno;
  Came = true;
  signal(number, SIG_DFL);
  platform::RaiseEvent(CurrentEvent);
  errno = before;
}
}

Interrupt::Interrupt() {
  platform::MakeEvent(event.Out());
  CurrentEvent = event.Get();
  for (const int number : kSignals) signal(number, &NoteInterrupt);
}

Interrupt::~Interrupt() {
  for (const int number : kSignals) signal(number, SIG_DFL);
}

bool Interrupt::HasCome() noexcept { return Came; }

}  // namespace larder::tool
