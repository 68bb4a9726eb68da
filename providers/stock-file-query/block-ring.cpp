#include "stock-file-query/block-ring.h"

namespace larder::feed {

FileBlock& BlockRing::NextFree() {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return given - returned < kBlocks; });
  return blocks[given % kBlocks];
}

void BlockRing::Give() {
  {
    const std::lock_guard lock(mutex);
    ++given;
  }
  changed.notify_all();
}

void BlockRing::End() noexcept {
  {
    const std::lock_guard lock(mutex);
    hasEnded = true;
  }
  changed.notify_all();
}

const FileBlock* BlockRing::Take() {
  std::unique_lock lock(mutex);
  returned = taken;
  changed.notify_all();
  changed.wait(lock, [this] { return given > taken || hasEnded; });
  return given > taken ? &blocks[taken++ % kBlocks] : nullptr;
}

}  // namespace larder::feed
