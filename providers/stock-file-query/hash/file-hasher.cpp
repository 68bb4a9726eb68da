#include "stock-file-query/hash/file-hasher.h"

#include "platform/scoped-handle.h"
#include "platform/thread.h"
#include "stock-file-query/hash/hash-work.h"

namespace larder::feed {
namespace {

// The second thread, which works until all is done. If the system can't start it, the reader does
// all the work.
class Helper {
 public:
  explicit Helper(HashWork& shared) : work(shared) {
    platform::StartThread(&Run, this, thread.Out());
  }
  ~Helper() {
    work.End();  // in case reading has failed
    platform::WaitForThread(thread.Get());
  }
  Helper(const Helper&) = delete;
  Helper& operator=(const Helper&) = delete;

 private:
  static void Run(void* helper) {
    HashWork& work = static_cast<Helper*>(helper)->work;
    for (;;) {
      const std::size_t changeCount = work.ChangeCount();
      if (work.RunOne()) continue;
      if (work.IsDone()) return;
      work.WaitForChange(HashWork::Worker::kHelper, changeCount);
    }
  }

  HashWork& work;
  platform::OwnedHandle thread{nullptr};
};

// False at the file's end.
bool Fill(FileBlock& block, std::uint64_t fileSize, const ReadBlock& readBlock,
          std::uint64_t& bytesRead) {
  // Otherwise a file that grows as fast as it is read would be read forever.
  if (bytesRead > fileSize) return false;
  block.offset = bytesRead;
  block.size = readBlock(block.offset, block.memory.get(), kBlockSize);
  bytesRead += block.size;
  return block.size != 0;
}

// Returns the number of bytes read.
std::uint64_t ReadAndWork(HashWork& work, std::uint64_t fileSize, const ReadBlock& readBlock) {
  std::uint64_t bytesRead = 0;
  for (;;) {
    const std::size_t changeCount = work.ChangeCount();
    if (FileBlock* const block = work.AcquireBlock()) {
      if (Fill(*block, fileSize, readBlock, bytesRead)) {
        work.Submit();
      } else {
        work.End();
      }
    } else if (!work.RunOne()) {
      if (work.IsDone()) return bytesRead;
      work.WaitForChange(HashWork::Worker::kReader, changeCount);
    }
  }
}

}  // namespace

HashedFile HashFile(const platform::DigestLibrary& library, std::uint64_t fileSize,
                    const std::optional<ImageLayout>& layout, const ReadBlock& readBlock) {
  HashedFile result;
  HashWork work(library, layout ? &*layout : nullptr);
  std::optional<Helper> helper;
  if (fileSize >= kSizeForTwoThreads && work.EnableHelper()) helper.emplace(work);
  result.bytesRead = ReadAndWork(work, fileSize, readBlock);
  helper.reset();
  work.Finish(result.file, layout ? &result.image.emplace() : nullptr);
  return result;
}

}  // namespace larder::feed
