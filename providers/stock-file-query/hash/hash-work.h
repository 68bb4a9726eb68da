// A file's blocks on their way through its digests, on one thread or two.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "platform/event.h"
#include "stock-file-query/bytes.h"
#include "stock-file-query/hash/digests.h"
#include "stock-file-query/pe/image-layout.h"

namespace larder::feed {

inline constexpr std::size_t kBlockSize = 0x20000;

struct FileBlock {
  std::unique_ptr<std::uint8_t[]> memory =
      std::make_unique_for_overwrite<std::uint8_t[]>(kBlockSize);
  std::uint64_t offset = 0;  // in the file
  std::size_t size = 0;      // of what is there

  Bytes Content() const { return {memory.get(), size}; }
};

// A digest of the file's bytes, or with a layout of those that an image's digests cover. Takes the
// blocks in order, each on whatever thread is free for it.
class DigestLane {
 public:
  // imageLayout: null, or outlives the object. Throws std::runtime_error if the system refuses.
  DigestLane(const platform::DigestLibrary& library, platform::DigestKind digestKind,
             const ImageLayout* imageLayout);

  // How many blocks are done.
  std::size_t Done() const noexcept { return state / 2; }
  // Whether a thread is at the next one.
  bool IsClaimed() const noexcept { return state % 2 != 0; }
  // False if it is claimed already, or isn't at this number of done blocks.
  [[nodiscard]] bool Claim(std::size_t done) noexcept;
  // By who has claimed it; lets go of it.
  void Add(const FileBlock& block) noexcept;
  // Sets the lane's own of the digests. Throws std::runtime_error if the system has refused.
  void Finish(Digests& digests);

 private:
  void AddBytes(Bytes bytes) noexcept;

  platform::DigestKind kind;
  const ImageLayout* layout;
  platform::AutoDigest digest;
  bool isRefused = false;
  std::atomic<std::size_t> state = 0;  // twice the blocks done, and one more while it is claimed
};

// The blocks that there are, each filled again when all the lanes have done it. The two threads
// take what they can do next whenever they are free, so that neither waits while there is work, on
// whatever processor and with whatever digests.
//
// They wait by the system's events: with MinGW a mutex or a condition variable of the standard
// library that has been waited for leaves a handle behind.
class HashWork {
 public:
  enum class Worker { kReader, kHelper };

  // layout: null for a file that is no image, or outlives the object. Throws std::runtime_error if
  // a digest is refused.
  HashWork(const platform::DigestLibrary& library, const ImageLayout* layout);

  // Makes it work for two threads; before anything else. False if the system has no events left:
  // then it stays work for one.
  [[nodiscard]] bool EnableHelper();

  // The reader's: the block to be filled next; null while there is none, and after the end.
  FileBlock* AcquireBlock() noexcept;
  void Submit() noexcept;
  // No more blocks will come. Any number of times.
  void End() noexcept;

  // Either's. Does a block for a digest; false if there is none to be done at the moment.
  bool RunOne() noexcept;
  // Everything that was submitted has been done, and no more will come.
  bool IsDone() const noexcept;
  // Read before a look at what there is to do; Wait then returns at once if anything has changed
  // since.
  std::size_t ChangeCount() const noexcept { return changeCount; }
  void WaitForChange(Worker who, std::size_t countSeen) noexcept;

  // After IsDone(). Throws std::runtime_error if the system has refused a digest.
  void Finish(Digests& file, Digests* image);

 private:
  struct Waiter {
    Waiter() = default;
    ~Waiter() { platform::CloseObject(event); }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    platform::Handle event = nullptr;
    std::atomic<bool> isWaiting = false;
  };

  std::size_t FewestDone() const noexcept;
  DigestLane* ClaimSlowestLane() noexcept;
  void NotifyChange() noexcept;

  std::vector<FileBlock> blocks{1};
  std::deque<DigestLane> lanes;
  std::array<Waiter, 2> waiters;
  std::atomic<std::size_t> submitted = 0;
  std::atomic<bool> hasEnded = false;
  std::atomic<std::size_t> changeCount = 0;
};

}  // namespace larder::feed
