#include "tools/larder/check/array-blocks.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <new>
#include <unordered_set>

// Defined in programs with a sanitizer, which has an allocator of its own.
extern "C" __attribute__((weak)) int __sanitizer_get_ownership(const volatile void*);  // NOLINT

namespace larder::tool {
namespace {

// The blocks of "new T[]" since the watch began, which only the process that tries a module does.
class ArrayBlocks {
 public:
  void Add(const void* block) {
    const std::lock_guard guard(lock);
    blocks.insert(block);
  }
  void Remove(const void* block) noexcept {
    const std::lock_guard guard(lock);
    blocks.erase(block);
  }
  bool Contains(const void* block) {
    const std::lock_guard guard(lock);
    return blocks.contains(block);
  }

 private:
  std::mutex lock;
  std::unordered_set<const void*> blocks;
};

std::atomic<ArrayBlocks*> WatchedBlocks;

}  // namespace

// Never freed: modules free blocks as long as the process exists.
void WatchArrayNew() { WatchedBlocks = new ArrayBlocks; }

bool IsFromArrayNew(const void* block) {
  if (&__sanitizer_get_ownership != nullptr) return __sanitizer_get_ownership(block) != 0;
  return WatchedBlocks.load()->Contains(block);
}

}  // namespace larder::tool

// They replace those of the C++ runtime in this program and in the modules that it loads. Weak,
// because a sanitizer replaces them too.

__attribute__((weak)) void* operator new[](std::size_t size) {
  void* block = operator new(size);
  if (auto* blocks = larder::tool::WatchedBlocks.load()) blocks->Add(block);
  return block;
}

__attribute__((weak)) void operator delete[](void* block) noexcept {
  if (auto* blocks = larder::tool::WatchedBlocks.load()) blocks->Remove(block);
  operator delete(block);
}

__attribute__((weak)) void operator delete[](void* block, std::size_t) noexcept {
  operator delete[](block);
}
