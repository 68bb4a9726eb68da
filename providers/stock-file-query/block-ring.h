// Blocks of a file on their way from the thread that reads them to one that computes beside it.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/event.h"
#include "stock-file-query/bytes.h"

namespace larder::feed {

inline constexpr std::size_t kBlockSize = 0x20000;

struct FileBlock {
  std::unique_ptr<std::uint8_t[]> memory =
      std::make_unique_for_overwrite<std::uint8_t[]>(kBlockSize);
  std::uint64_t offset = 0;  // in the file
  std::size_t size = 0;      // of what is there

  Bytes Content() const { return {memory.get(), size}; }
};

// One thread gives, one takes. A block that has been given may be read by both: it is filled again
// only when the taker has given it back and the giver comes round to it.
//
// It waits by the system's events: with MinGW a mutex or a condition variable of the standard
// library that has been waited for leaves a handle behind.
class BlockRing {
 public:
  BlockRing() noexcept;
  ~BlockRing();
  BlockRing(const BlockRing&) = delete;
  BlockRing& operator=(const BlockRing&) = delete;

  // False if the system had no events left; nothing else may be called then.
  [[nodiscard]] bool IsUsable() const noexcept { return room != nullptr && filled != nullptr; }

  // The giver's: the block to be filled next; waits until it is free.
  FileBlock& NextFree() noexcept;
  void Give() noexcept;
  // No more blocks will come. Any number of times.
  void End() noexcept;

  // The taker's: the next block, in order; null at the end. The one before is given back by this.
  const FileBlock* Take() noexcept;

 private:
  static constexpr std::size_t kBlocks = 4;

  bool HasRoom() const noexcept { return given - returned < kBlocks; }

  std::array<FileBlock, kBlocks> blocks;
  platform::Handle room;    // raised when a block has come back
  platform::Handle filled;  // raised when one has been given, and at the end
  std::atomic<std::size_t> given = 0;
  std::size_t taken = 0;                  // what the taker has asked for; its own
  std::atomic<std::size_t> returned = 0;  // what it is done with
  std::atomic<bool> hasEnded = false;
};

}  // namespace larder::feed
