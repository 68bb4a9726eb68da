#include "tools/larder/check/process-resources.h"

#include <malloc.h>

#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

// Defined in programs with a sanitizer, which has an allocator of its own.
extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();  // NOLINT

namespace larder::tool {
namespace {

std::size_t EntriesIn(const char* folder) {
  std::error_code error;
  const std::filesystem::directory_iterator entries(folder, error);
  if (error) {
    throw std::runtime_error("cannot count threads and descriptors by " + std::string(folder) +
                             ": " + error.message());
  }
  return static_cast<std::size_t>(std::distance(entries, std::filesystem::directory_iterator()));
}

}  // namespace

std::size_t CountThreads() { return EntriesIn("/proc/self/task"); }

std::size_t CountHandles() { return EntriesIn("/proc/self/fd"); }

std::size_t CountHeapBytes() {
  if (&__sanitizer_get_current_allocated_bytes != nullptr) {
    return __sanitizer_get_current_allocated_bytes();
  }
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

}  // namespace larder::tool
