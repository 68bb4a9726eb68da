// The bytes of an executable image that its digests cover.
//
// An image is a file in the PE format, PE32 or PE32+, for any machine. Its digests cover the bytes
// that its signatures cover, so an image has the same digests before and after it is signed. They
// are the file's bytes in order, without
//   - the field CheckSum of the optional header,
//   - the entry of the certificate table in the data directories (the fifth, if there are five),
//   - the certificate table itself, if the image is signed.
// If the image isn't signed, zero bytes follow until the size is a multiple of 8. Bytes behind the
// certificate table are covered. Only file offsets count: the sections and the sizes in the headers
// have no influence.
//
// An image is signed if the entry of the certificate table describes a range of at least 8 bytes
// that is wholly within the file and behind that entry. Any other entry is treated as an empty one.
//
// Nothing here says whether a system would load the image.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

#include "stock-file-query/bytes.h"

namespace larder::feed {

// Reads the file's bytes at the offset into the buffer; false if fewer than size can be read. What
// it throws is passed on to the caller.
using ReadAt = std::function<bool(std::uint64_t offset, void* buffer, std::size_t size)>;

// The bytes of a file from begin up to, but not including, end.
struct FileRange {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;

  std::uint64_t Size() const { return end - begin; }
  bool operator==(const FileRange&) const = default;
};

struct ImageLayout {
  std::array<FileRange, 4> covered;  // ascending and disjoint; unused ones are empty
  std::size_t padding = 0;           // zero bytes that follow them, 0 to 7
  FileRange table;                   // the certificate table; empty if the image isn't signed
};

// Reads at most the 64 bytes of the DOS header and 176 at the offset given there, which may be any
// offset. Nothing if the file isn't an image: it has another format, its end cuts off the headers,
// or readAt returns false. Thread-safe.
std::optional<ImageLayout> ReadImageLayout(std::uint64_t fileSize, const ReadAt& readAt);

// Calls sink(Bytes) for each covered part of the block, in order. offset: of the block in the file.
// Called with all blocks of the file in order, it passes on all covered bytes; the caller adds the
// padding.
template <typename Sink>
void FeedCovered(const ImageLayout& layout, std::uint64_t offset, Bytes block, Sink&& sink) {
  const std::uint64_t end = offset + block.size();
  for (const FileRange& range : layout.covered) {
    const std::uint64_t from = range.begin > offset ? range.begin : offset;
    const std::uint64_t to = range.end < end ? range.end : end;
    if (from < to) sink(block.subspan(from - offset, to - from));
  }
}

}  // namespace larder::feed
