#include "stock-file-query/pe/image-layout.h"

#include <algorithm>

namespace larder::feed {
namespace {

// Offsets from the PE signature; the optional header begins at 24.
constexpr std::size_t kMagic = 24;
constexpr std::size_t kCheckSum = 24 + 64;
constexpr std::size_t kCheckSumSize = 4;
constexpr std::size_t kTableEntrySize = 8;

constexpr std::size_t kDosHeaderSize = 64;
constexpr std::size_t kHeaderOffset = 60;
constexpr std::size_t kCertificateTable = 4;  // its index in the data directories

// The offsets that differ between the two forms of the optional header.
struct HeaderForm {
  std::size_t directoryCount;
  std::size_t tableEntry;
};
constexpr HeaderForm kPe32{24 + 92, 24 + 96 + 8 * kCertificateTable};
constexpr HeaderForm kPe32Plus{24 + 108, 24 + 112 + 8 * kCertificateTable};

constexpr std::size_t kHeadersSize = kPe32Plus.tableEntry + kTableEntrySize;
static_assert(kHeadersSize == 176, "as image-layout.h says");

const HeaderForm* FormOf(Bytes headers) {
  constexpr std::uint32_t kSignature = 0x4550;  // "PE\0\0"
  if (ReadLittleEndian(headers, 0, 4) != kSignature) return nullptr;
  switch (ReadLittleEndian(headers, kMagic, 2)) {
    case 0x10b:
      return &kPe32;
    case 0x20b:
      return &kPe32Plus;
    default:
      return nullptr;
  }
}

FileRange TableOf(Bytes entry, std::uint64_t entryEnd, std::uint64_t fileSize) {
  const std::uint64_t begin = ReadLittleEndian(entry, 0, 4);
  const std::uint64_t end = begin + ReadLittleEndian(entry, 4, 4);
  if (begin < entryEnd || end < begin + kTableEntrySize || end > fileSize) return {};
  return {begin, end};
}

// Leaves parts out of the file, in ascending order.
class Coverage {
 public:
  void LeaveOut(FileRange part) {
    layout.covered[count++] = {at, part.begin};
    at = part.end;
  }

  ImageLayout End(std::uint64_t fileSize, FileRange table) {
    if (table.Size() > 0) {
      LeaveOut(table);
    } else {
      layout.padding = (8 - fileSize % 8) % 8;
    }
    LeaveOut({fileSize, fileSize});
    layout.table = table;
    return layout;
  }

 private:
  ImageLayout layout;
  std::size_t count = 0;
  std::uint64_t at = 0;
};

// offset: of the headers in the file.
std::optional<ImageLayout> LayoutOf(Bytes headers, std::uint64_t offset, std::uint64_t fileSize) {
  const HeaderForm* const form = FormOf(headers);
  if (form == nullptr || headers.size() < form->directoryCount + 4) return std::nullopt;
  Coverage coverage;
  coverage.LeaveOut({offset + kCheckSum, offset + kCheckSum + kCheckSumSize});
  if (ReadLittleEndian(headers, form->directoryCount, 4) <= kCertificateTable) {
    return coverage.End(fileSize, {});
  }
  if (headers.size() < form->tableEntry + kTableEntrySize) return std::nullopt;
  const std::uint64_t entry = offset + form->tableEntry;
  const std::uint64_t entryEnd = entry + kTableEntrySize;
  coverage.LeaveOut({entry, entryEnd});
  return coverage.End(fileSize, TableOf(headers.subspan(form->tableEntry), entryEnd, fileSize));
}

}  // namespace

std::optional<ImageLayout> ReadImageLayout(std::uint64_t fileSize, const ReadAt& readAt) {
  std::array<std::uint8_t, kDosHeaderSize> dos{};
  if (fileSize < dos.size() || !readAt(0, dos.data(), dos.size())) return std::nullopt;
  if (dos[0] != 'M' || dos[1] != 'Z') return std::nullopt;
  const std::uint64_t offset = ReadLittleEndian(dos, kHeaderOffset, 4);
  if (offset >= fileSize) return std::nullopt;
  std::array<std::uint8_t, kHeadersSize> headers{};
  const std::size_t size = std::min<std::uint64_t>(headers.size(), fileSize - offset);
  if (!readAt(offset, headers.data(), size)) return std::nullopt;
  return LayoutOf(Bytes(headers).first(size), offset, fileSize);
}

}  // namespace larder::feed
