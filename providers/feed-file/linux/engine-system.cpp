#include "feed-file/engine-system.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdarg>

#include "platform/thread.h"

namespace larder::feed {
namespace {

// A forked child can't take a lock, so the records have none: each is -1 or an open file.
constexpr std::size_t kMaxRecorded = 512;
std::array<std::atomic<int>, kMaxRecorded> OpenFiles;  // the descriptor plus 1; 0: unused

void Record(int descriptor) noexcept {
  for (std::atomic<int>& one : OpenFiles) {
    int unused = 0;
    if (one.compare_exchange_strong(unused, descriptor + 1)) return;
  }
}

void Forget(int descriptor) noexcept {
  for (std::atomic<int>& one : OpenFiles) {
    int recorded = descriptor + 1;
    if (one.compare_exchange_strong(recorded, 0)) return;
  }
}

int Open(const char* path, int flags, int mode) {
  const int descriptor = open(path, flags, mode);
  if (descriptor >= 0) Record(descriptor);
  return descriptor;
}

int Close(int descriptor) {
  Forget(descriptor);
  return close(descriptor);
}

// The engine's other commands have an integer or no argument.
int Control(int descriptor, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (command != F_SETLK && command != F_GETLK) return fcntl(descriptor, command, argument);
  static_cast<struct flock*>(argument)->l_pid = 0;  // the system requires it of these locks
  return fcntl(descriptor, command == F_SETLK ? F_OFD_SETLK : F_OFD_GETLK, argument);
}

ssize_t Write(int descriptor, const void* bytes, std::size_t size) {
  const platform::FileSizeSignalBlock block;
  return write(descriptor, bytes, size);
}

ssize_t WriteAt(int descriptor, const void* bytes, std::size_t size, off_t offset) {
  const platform::FileSizeSignalBlock block;
  return pwrite(descriptor, bytes, size, offset);
}

int Truncate(int descriptor, off_t size) {
  const platform::FileSizeSignalBlock block;
  return ftruncate(descriptor, size);
}

template <typename Function>
void Replace(sqlite3_vfs* system, const char* name, Function* function) noexcept {
  system->xSetSystemCall(system, name, reinterpret_cast<sqlite3_syscall_ptr>(function));
}

}  // namespace

void AdaptEngine() noexcept {
  sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
  Replace(system, "open", Open);
  Replace(system, "close", Close);
  Replace(system, "fcntl", Control);
  Replace(system, "write", Write);
  Replace(system, "pwrite", WriteAt);
  Replace(system, "ftruncate", Truncate);
}

void CloseEngineFilesInForkedChild() noexcept {
  for (std::atomic<int>& one : OpenFiles) {
    const int recorded = one.exchange(0);
    if (recorded != 0) close(recorded - 1);
  }
}

}  // namespace larder::feed
