#include "stock-file-query/block-ring.h"

namespace larder::feed {
namespace {

// Returns when ready() holds; whoever makes it so raises the event afterwards.
template <typename Ready>
void WaitUntil(platform::Handle event, const Ready& ready) noexcept {
  while (!ready()) {
    platform::LowerEvent(event);
    if (ready()) return;
    std::size_t index = 0;
    static_cast<void>(platform::WaitForAny(&event, 1, index));
  }
}

}  // namespace

BlockRing::BlockRing() noexcept : room(platform::MakeEvent()), filled(platform::MakeEvent()) {}

BlockRing::~BlockRing() {
  platform::CloseObject(room);
  platform::CloseObject(filled);
}

FileBlock& BlockRing::NextFree() noexcept {
  WaitUntil(room, [this] { return HasRoom(); });
  return blocks[given % kBlocks];
}

void BlockRing::Give() noexcept {
  ++given;
  platform::RaiseEvent(filled);
}

void BlockRing::End() noexcept {
  hasEnded = true;
  platform::RaiseEvent(filled);
}

const FileBlock* BlockRing::Take() noexcept {
  returned = taken;
  platform::RaiseEvent(room);
  WaitUntil(filled, [this] { return given > taken || hasEnded; });
  return given > taken ? &blocks[taken++ % kBlocks] : nullptr;
}

}  // namespace larder::feed
