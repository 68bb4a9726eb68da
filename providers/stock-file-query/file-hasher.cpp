#include "stock-file-query/file-hasher.h"

#include "platform/thread.h"
#include "stock-file-query/block-ring.h"

namespace larder::feed {
namespace {

// Two parts of the five that take about the same time.
constexpr std::array kFirstPart = {DigestKind::kMd5, DigestKind::kSha1, DigestKind::kSha256};
constexpr std::array kSecondPart = {DigestKind::kSha384, DigestKind::kSha512};

// Digests of the file's bytes, or with a layout of those that an image's cover.
class Job {
 public:
  Job(const ImageLayout* imageLayout, std::span<const DigestKind> kinds)
      : layout(imageLayout), set(kinds) {}

  void Add(const FileBlock& block) noexcept {
    const auto add = [this](Bytes bytes) { set.Add(bytes.data(), bytes.size()); };
    if (layout == nullptr) {
      add(block.Content());
    } else {
      FeedCovered(*layout, block.offset, block.Content(), add);
    }
  }

  void Finish(Digests& digests) {
    constexpr std::array<std::uint8_t, 8> kZeros{};
    if (layout != nullptr) set.Add(kZeros.data(), layout->padding);
    set.Finish(digests);
  }

 private:
  const ImageLayout* layout;
  DigestSet set;
};

// Computes a job on a thread of its own while the giver of the ring's blocks does another.
class Helper {
 public:
  Helper(BlockRing& blocks, Job& helpersJob)
      : ring(blocks), job(helpersJob), thread(platform::StartThread(&Run, this)) {}
  ~Helper() {
    if (thread == nullptr) return;
    ring.End();
    platform::WaitForThread(thread);
    platform::CloseObject(thread);
  }
  Helper(const Helper&) = delete;
  Helper& operator=(const Helper&) = delete;

  [[nodiscard]] bool IsThere() const noexcept { return thread != nullptr; }

 private:
  static void Run(void* helper) {
    auto& self = *static_cast<Helper*>(helper);
    while (const FileBlock* block = self.ring.Take()) self.job.Add(*block);
  }

  BlockRing& ring;
  Job& job;
  platform::Handle thread;
};

// False at the file's end.
bool Fill(FileBlock& block, std::uint64_t fileSize, const ReadBlock& readBlock,
          std::uint64_t& bytesRead) {
  // A file that grows as fast as it is read has an end all the same.
  if (bytesRead > fileSize) return false;
  block.offset = bytesRead;
  block.size = readBlock(block.offset, block.memory.get(), kBlockSize);
  bytesRead += block.size;
  return block.size != 0;
}

std::uint64_t FeedInTurn(Job& first, Job* second, std::uint64_t fileSize,
                         const ReadBlock& readBlock) {
  std::uint64_t bytesRead = 0;
  for (FileBlock block; Fill(block, fileSize, readBlock, bytesRead);) {
    first.Add(block);
    if (second != nullptr) second->Add(block);
  }
  return bytesRead;
}

// Where the system has no thread or no event left, one thread does it all.
std::uint64_t FeedSideBySide(Job& first, Job& second, std::uint64_t fileSize,
                             const ReadBlock& readBlock) {
  BlockRing ring;
  if (!ring.IsUsable()) return FeedInTurn(first, &second, fileSize, readBlock);
  const Helper helper(ring, second);
  if (!helper.IsThere()) return FeedInTurn(first, &second, fileSize, readBlock);
  std::uint64_t bytesRead = 0;
  for (;;) {
    FileBlock& block = ring.NextFree();
    if (!Fill(block, fileSize, readBlock, bytesRead)) return bytesRead;
    ring.Give();
    first.Add(block);
  }
}

}  // namespace

HashedFile HashFile(std::uint64_t fileSize, const std::optional<ImageLayout>& layout,
                    const ReadBlock& readBlock) {
  HashedFile result;
  const bool isShared = fileSize >= kSizeForTwoThreads;
  const ImageLayout* const image = layout ? &*layout : nullptr;
  const bool isSplit = isShared && image == nullptr;
  Job file(nullptr, isSplit ? std::span<const DigestKind>(kFirstPart) : kAllDigests);
  std::optional<Job> other;
  if (isSplit) other.emplace(nullptr, kSecondPart);
  if (image != nullptr) other.emplace(image, kAllDigests);
  result.bytesRead = isShared ? FeedSideBySide(file, *other, fileSize, readBlock)
                              : FeedInTurn(file, other ? &*other : nullptr, fileSize, readBlock);
  file.Finish(result.file);
  if (other) other->Finish(image != nullptr ? result.image.emplace() : result.file);
  return result;
}

}  // namespace larder::feed
