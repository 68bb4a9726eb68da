// The digests of a whole file and, if it is an executable image, those of the image, in one pass.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "stock-file-query/hash/digests.h"
#include "stock-file-query/pe/image-layout.h"

namespace larder::feed {

// From this size on the work is shared with a second thread, which lives as long as the call.
inline constexpr std::uint64_t kSizeForTwoThreads = 0x100000;

// Fills the buffer from an offset on and gives the number of bytes, fewer than asked for only at
// the file's end. What it throws leaves HashFile. Called on the caller's thread alone.
using ReadBlock = std::function<std::size_t(std::uint64_t offset, void* buffer, std::size_t size)>;

struct HashedFile {
  Digests file;
  std::optional<Digests> image;
  std::uint64_t bytesRead = 0;
};

// Reads the file from its begin to its end; a file that grows has its end behind the block that
// goes beyond fileSize. layout: of a file of this size. Throws what readBlock throws, and
// std::runtime_error if the system refuses a digest.
HashedFile HashFile(const platform::DigestLibrary& library, std::uint64_t fileSize,
                    const std::optional<ImageLayout>& layout, const ReadBlock& readBlock);

}  // namespace larder::feed
