// The digests of a whole file and, if it is an executable image, those of the image, in one pass.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "stock-file-query/hash/digests.h"
#include "stock-file-query/pe/image-layout.h"

namespace larder::feed {

// A file of this size or more is hashed by the caller's thread and a second one, which ends with
// the call.
inline constexpr std::uint64_t kSizeForTwoThreads = 0x100000;

// Reads the file's bytes at the offset into the buffer. Returns the number of bytes read, which is
// less than size only at the file's end. Called on the caller's thread only.
using ReadBlock = std::function<std::size_t(std::uint64_t offset, void* buffer, std::size_t size)>;

struct HashedFile {
  Digests file;
  std::optional<Digests> image;
  std::uint64_t bytesRead = 0;
};

// Reads the file from its beginning to its end. Of a file that grows meanwhile, it reads no further
// than the first block that reaches beyond fileSize. layout: of a file of this size; nothing if it
// isn't an image. Throws what readBlock throws, and std::runtime_error if the system refuses a
// digest.
HashedFile HashFile(const platform::DigestLibrary& library, std::uint64_t fileSize,
                    const std::optional<ImageLayout>& layout, const ReadBlock& readBlock);

}  // namespace larder::feed
