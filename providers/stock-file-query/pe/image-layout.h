// Which bytes of an executable image its digests cover.
//
// An image here is a file in the PE format, PE32 or PE32+, whatever machine it is for. Its digests
// cover what its signatures cover, so that an image has the same digests before and after it is
// signed: the file's bytes in order, without
//   - the field CheckSum of the optional header,
//   - the entry of the certificate table in the data directory (the fifth, if there are five),
//   - the certificate table, if the image is signed,
// and, if it isn't signed, with as many zero bytes behind it as make the file's size a multiple of
// 8. Bytes behind the certificate table are covered. Everything goes by offsets in the file: where
// sections lie plays no part, nor what the header says about its own size.
//
// Signed is an image whose entry of the certificate table tells a part of the file of 8 bytes or
// more that lies wholly behind that entry. An entry that tells anything else is one of no table.
//
// Nothing is judged: that an image is laid out so says nothing about whether a system would load
// it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

#include "stock-file-query/bytes.h"

namespace larder::feed {

// Fills the buffer with the bytes at the offset; false if they can't all be had. What it throws
// goes to whoever started the reading.
using ReadAt = std::function<bool(std::uint64_t offset, void* buffer, std::size_t size)>;

// Bytes of a file, from the first up to the one before end.
struct FileRange {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;

  std::uint64_t Size() const { return end - begin; }
  bool operator==(const FileRange&) const = default;
};

struct ImageLayout {
  std::array<FileRange, 4> covered;  // ascending, apart from each other; unused ones are empty
  std::size_t padding = 0;           // zero bytes behind them, 0 to 7
  FileRange table;                   // the certificate table; empty if the image isn't signed
};

// Reads at most 64 bytes at the file's begin and 176 where these say that the headers are, which
// may be anywhere. Nothing if the file is no image: another format, headers that the file's end
// cuts off, or bytes that readAt can't give. On any thread.
std::optional<ImageLayout> ReadImageLayout(std::uint64_t fileSize, const ReadAt& readAt);

// Calls sink(Bytes) for each part of the block that is covered, in order. The block lies at the
// offset in the file. Blocks that follow each other give the covered bytes of the whole file; the
// padding is up to whoever feeds them.
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
