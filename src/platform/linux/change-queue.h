// The inotify descriptor with which a named event watches directories.
#pragma once

#include <unistd.h>

#include <array>
#include <memory>

#include "platform/linux/file-descriptor.h"

namespace larder::platform {

inline constexpr int kNoWatch = -1;
using Watches = std::array<int, 4>;

struct ChangeQueue {
  FileDescriptor descriptor;
  Watches watches;     // in the queue, or kNoWatch
  const pid_t opener;  // a forked child shares the queue with its parent
};

// Closing a descriptor that has watches takes the kernel milliseconds: it waits until no processor
// uses a watch any more. So the process keeps one queue with its watches for the next event. It is
// closed when the image that contains this code is unloaded. Thread-safe.

// The queue that was kept, which may still have old changes, or a new one. Null, with errno set, if
// the system can't open one.
std::unique_ptr<ChangeQueue> TakeChangeQueue() noexcept;
// Keeps the queue if no other one is kept, and closes it otherwise.
void GiveBackChangeQueue(std::unique_ptr<ChangeQueue> queue) noexcept;

}  // namespace larder::platform
