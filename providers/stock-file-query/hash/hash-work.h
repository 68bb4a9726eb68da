// Computes the digests of a file while it is read, on one thread or two.
//
// A digest must take the file's blocks in order, but no digest depends on another, so each is a
// lane that counts the blocks it has done. The blocks form a ring: the reader fills the next one
// and submits it, and a block is free again when all lanes have done it. The unit of work is one
// block for one lane. A thread that is free runs the next unit of the lane that is furthest behind;
// the reader does so while no block is free. So neither thread waits while there is work, however
// fast the processor computes each digest.
//
// A lane's state is one atomic word. A thread claims the lane's next block by a compare-exchange
// from the state it has seen, which fails if another thread has claimed or done that block since.
// No wake-up is lost: a waiter sets isWaiting and then reads changeCount, a change increments
// changeCount and then reads isWaiting, and both are sequentially consistent.
//
// The threads wait for events of the system: with MinGW, a mutex or a condition variable of the
// standard library leaks a handle once a thread has waited for it.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "platform/event.h"
#include "platform/scoped-handle.h"
#include "stock-file-query/bytes.h"
#include "stock-file-query/hash/digests.h"
#include "stock-file-query/pe/image-layout.h"

namespace larder::feed {

inline constexpr std::size_t kBlockSize = 0x20000;

struct FileBlock {
  std::unique_ptr<std::uint8_t[]> memory =
      std::make_unique_for_overwrite<std::uint8_t[]>(kBlockSize);
  std::uint64_t offset = 0;  // in the file
  std::size_t size = 0;      // bytes in use

  Bytes Content() const { return {memory.get(), size}; }
};

// One digest: of all bytes of the file or, with a layout, of those that an image's digests cover.
class DigestLane {
 public:
  // imageLayout: null, or outlives the object. Throws std::runtime_error if the system refuses the
  // digest.
  DigestLane(const platform::DigestLibrary& library, platform::DigestKind digestKind,
             const ImageLayout* imageLayout);

  // The number of blocks done.
  std::size_t Done() const noexcept { return state / 2; }
  // Whether a thread has claimed the next block.
  bool IsClaimed() const noexcept { return state % 2 != 0; }
  // Claims the next block if no thread has, and if the number of blocks done is this one.
  [[nodiscard]] bool Claim(std::size_t done) noexcept;
  // Adds the claimed block; the thread that has claimed it calls this.
  void Add(const FileBlock& block) noexcept;
  // Sets this lane's digest in digests. Throws std::runtime_error if the system has refused it.
  void Finish(Digests& digests);

 private:
  void AddBytes(Bytes bytes) noexcept;

  platform::DigestKind kind;
  const ImageLayout* layout;
  platform::AutoDigest digest;
  bool isRefused = false;
  std::atomic<std::size_t> state = 0;  // 2 * blocks done + (the next one is claimed)
};

// The blocks and the lanes. There are one or two workers: the reader, which alone calls
// AcquireBlock and Submit, and a helper. Both may call RunOne, IsDone, ChangeCount, WaitForChange
// and End.
class HashWork {
 public:
  enum class Worker { kReader, kHelper };

  // layout: null for a file that isn't an image, or outlives the object. Throws std::runtime_error
  // if the system refuses a digest.
  HashWork(const platform::DigestLibrary& library, const ImageLayout* layout);

  // Must precede all other calls if there is to be a helper. False if the system can't create an
  // event; there must be no helper then.
  [[nodiscard]] bool EnableHelper();

  // The block to fill next; null while none is free, and after End.
  FileBlock* AcquireBlock() noexcept;
  // Submits the acquired block.
  void Submit() noexcept;
  // No more blocks will be submitted. May be called more than once.
  void End() noexcept;

  // Adds one block to one digest. False if there is nothing to do at the moment.
  bool RunOne() noexcept;
  // Whether all lanes have done all blocks, and no more will be submitted.
  bool IsDone() const noexcept;
  // Changes whenever a block is submitted or a lane has done one, and at the end.
  std::size_t ChangeCount() const noexcept { return changeCount; }
  // Returns when ChangeCount differs from countSeen, at once if it does already.
  void WaitForChange(Worker who, std::size_t countSeen) noexcept;

  // Sets the digests when the work is done and the helper has ended. image: null without a layout.
  // Throws std::runtime_error if the system has refused a digest.
  void Finish(Digests& file, Digests* image);

 private:
  struct Waiter {
    platform::OwnedHandle event{nullptr};
    std::atomic<bool> isWaiting = false;
  };

  std::size_t FewestDone() const noexcept;
  DigestLane* ClaimSlowestLane() noexcept;
  void NotifyChange() noexcept;

  std::vector<FileBlock> blocks{1};
  std::deque<DigestLane> lanes;  // the file's, in the order of kAllDigests, then the image's
  std::array<Waiter, 2> waiters;
  std::atomic<std::size_t> submitted = 0;  // blocks
  std::atomic<bool> hasEnded = false;
  std::atomic<std::size_t> changeCount = 0;
};

}  // namespace larder::feed
