#include "tools/larder/cli/interrupt.h"

#include <windows.h>

#include <atomic>

namespace larder::tool {
namespace {

std::atomic<bool> Came;
std::atomic<platform::Handle> CurrentEvent;

// The system calls this on a thread of its own. After a close, log-off or shutdown it ends the
// process as soon as this returns, or after some seconds: the process must end by itself until
// then.
BOOL WINAPI NoteInterrupt(DWORD request) {
  const bool isFirst = !Came.exchange(true);
  platform::RaiseEvent(CurrentEvent);
  if (request != CTRL_C_EVENT && request != CTRL_BREAK_EVENT) Sleep(INFINITE);
  return isFirst ? TRUE : FALSE;
}

}  // namespace

Interrupt::Interrupt() {
  platform::MakeEvent(event.Out());
  CurrentEvent = event.Get();
  SetConsoleCtrlHandler(&NoteInterrupt, TRUE);
}

Interrupt::~Interrupt() { SetConsoleCtrlHandler(&NoteInterrupt, FALSE); }

bool Interrupt::HasCome() noexcept { return Came; }

}  // namespace larder::tool
