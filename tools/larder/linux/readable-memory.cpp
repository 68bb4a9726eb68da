#include "tools/larder/query/readable-memory.h"

#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace larder::tool {
namespace {

// True also if the system doesn't let the process ask.
bool IsReadable(const unsigned char* address) noexcept {
  unsigned char byte = 0;
  const iovec target{&byte, 1};
  const iovec source{const_cast<unsigned char*>(address), 1};
  return process_vm_readv(getpid(), &target, 1, &source, 1, 0) == 1 || errno != EFAULT;
}

}  // namespace

std::size_t ReadableBytes(const void* start, std::size_t limit) noexcept {
  static const auto kPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const auto* bytes = static_cast<const unsigned char*>(start);
  std::size_t readable = kPage - reinterpret_cast<std::uintptr_t>(start) % kPage;
  while (readable < limit && IsReadable(bytes + readable)) readable += kPage;
  return std::min(readable, limit);
}

}  // namespace larder::tool
