#include "platform/linux/file-lease.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/native.h"

namespace larder::platform {
namespace {

// The kernel sends it to the owner of a lease when another program opens the file for writing. Its
// default action is to ignore it.
constexpr int kBreakSignal = SIGURG;

// Keeps the signal of this thread's lease from the host, whatever the host does with the signal.
// The lease must have been released when this object is destroyed: then no signal can follow.
class BreakSignalBlock {
 public:
  explicit BreakSignalBlock(int leasedDescriptor) noexcept : descriptor(leasedDescriptor) {
    sigemptyset(&signals);
    sigaddset(&signals, kBreakSignal);
    isBlocked = pthread_sigmask(SIG_BLOCK, &signals, &previous) == 0;
  }
  ~BreakSignalBlock() {
    if (!isBlocked) return;
    if (IsUsable()) Discard();
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  }
  BreakSignalBlock(const BreakSignalBlock&) = delete;
  BreakSignalBlock& operator=(const BreakSignalBlock&) = delete;

  // False if a signal of the host's was pending already: it would hide the lease's.
  bool IsUsable() const noexcept { return isBlocked && !wasPending; }

 private:
  static bool IsPending() noexcept {
    sigset_t pending;
    return sigpending(&pending) != 0 || sigismember(&pending, kBreakSignal) != 0;
  }

  // The thread's own signals come before those of the process, so the lease's comes first.
  void Discard() const noexcept {
    siginfo_t info{};
    const timespec none{};
    if (sigtimedwait(&signals, &info, &none) < 0) return;
    if (info.si_code != POLL_MSG || info.si_fd != descriptor) PutBack(info);
  }

  // A signal that was sent to the host since the lease was taken.
  static void PutBack(siginfo_t& info) noexcept {
    if (info.si_code == SI_TKILL) {
      syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), kBreakSignal, &info);
    } else {
      kill(getpid(), kBreakSignal);
    }
  }

  const int descriptor;
  sigset_t signals{};
  sigset_t previous{};
  bool isBlocked = false;
  const bool wasPending = IsPending();
};

Code LastCode() noexcept { return errno == EAGAIN ? kSharingViolation : CodeFromErrno(errno); }

}  // namespace

Code TryReadLease(int descriptor) noexcept {
  const BreakSignalBlock block(descriptor);
  if (!block.IsUsable()) return kNotSupported;
  // Releasing a lease resets both, so they are set for each one.
  const f_owner_ex owner{F_OWNER_TID, gettid()};
  if (fcntl(descriptor, F_SETSIG, kBreakSignal) != 0) return LastCode();
  if (fcntl(descriptor, F_SETOWN_EX, &owner) != 0) return LastCode();
  if (fcntl(descriptor, F_SETLEASE, F_RDLCK) != 0) return LastCode();
  return fcntl(descriptor, F_SETLEASE, F_UNLCK) == 0 ? kSuccess : LastCode();
}

}  // namespace larder::platform
