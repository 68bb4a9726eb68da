#include "platform/linux/change-queue.h"

#include <fcntl.h>
#include <sys/inotify.h>

#include <atomic>
#include <cerrno>
#include <new>

namespace larder::platform {
namespace {

// A mark that no program has a reason to set: the number of the signal that the descriptor would
// send if it were asked to send any. The program may have closed a queue that is kept, as programs
// do that close all descriptors, and opened something else under its number.
constexpr int kOwnMark = 61;

constinit std::atomic<ChangeQueue*> Kept{nullptr};
constinit std::atomic<bool> IsUnloading{false};

bool IsOwn(const ChangeQueue& queue) noexcept {
  return queue.opener == getpid() && fcntl(queue.descriptor.Get(), F_GETSIG) == kOwnMark;
}

// Null if none was kept.
std::unique_ptr<ChangeQueue> TakeKept() noexcept {
  std::unique_ptr<ChangeQueue> kept(Kept.exchange(nullptr));
  if (kept == nullptr || IsOwn(*kept)) return kept;
  kept->descriptor.Release();  // it isn't this process's to close
  return nullptr;
}

// A static object that is destroyed later may still give a queue back.
struct Closer {
  ~Closer() {
    IsUnloading = true;
    TakeKept();
  }
};
const Closer kAtUnload;

std::unique_ptr<ChangeQueue> OpenChangeQueue() noexcept {
  FileDescriptor opened(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  if (!opened.IsOpen()) return nullptr;
  fcntl(opened.Get(), F_SETSIG, kOwnMark);
  std::unique_ptr<ChangeQueue> queue(new (std::nothrow)
                                         ChangeQueue{std::move(opened), {}, getpid()});
  if (queue == nullptr) errno = ENOMEM;
  if (queue != nullptr) queue->watches.fill(kNoWatch);
  return queue;
}

}  // namespace

std::unique_ptr<ChangeQueue> TakeChangeQueue() noexcept {
  std::unique_ptr<ChangeQueue> kept = TakeKept();
  return kept != nullptr ? std::move(kept) : OpenChangeQueue();
}

void GiveBackChangeQueue(std::unique_ptr<ChangeQueue> queue) noexcept {
  if (queue == nullptr || IsUnloading || !IsOwn(*queue)) return;
  ChangeQueue* none = nullptr;
  if (Kept.compare_exchange_strong(none, queue.get())) static_cast<void>(queue.release());
}

}  // namespace larder::platform
