#include "feed-file/store-entry.h"

#include <xxhash.h>

#include <cstring>

namespace larder::feed {
namespace {

struct EntryHead {
  std::uint64_t checksum;  // of all that follows
  std::uint64_t size;
  std::uint64_t lastModified;
  std::uint64_t volume;
  std::uint64_t index;
  std::uint64_t changed;
  std::uint32_t pathBytes;
  std::uint32_t recordSize;
};
static_assert(sizeof(EntryHead) == 56);

constexpr std::size_t kCheckedFrom = offsetof(EntryHead, size);

std::uint64_t ChecksumOf(EntryView entry) noexcept {
  return XXH3_64bits(entry.data() + kCheckedFrom, entry.size() - kCheckedFrom);
}

std::uint32_t BytesIn(WideView path) noexcept {
  return static_cast<std::uint32_t>(path.size() * sizeof(LarderWideChar));
}

EntryHead HeadOf(const StoredFile& file, EntryView record) noexcept {
  return {.checksum = 0,
          .size = file.info.size,
          .lastModified = file.info.lastModified,
          .volume = file.info.volume,
          .index = file.info.index,
          .changed = file.info.changed,
          .pathBytes = BytesIn(file.path),
          .recordSize = static_cast<std::uint32_t>(record.size())};
}

bool IsOf(const EntryHead& head, const StoredFile& file) noexcept {
  const platform::FileInfo info{.size = head.size,
                                .lastModified = head.lastModified,
                                .volume = head.volume,
                                .index = head.index,
                                .changed = head.changed};
  return info == file.info && head.pathBytes == BytesIn(file.path);
}

}  // namespace

std::uint64_t StoreKey(WideView path, std::uint64_t lastModified) noexcept {
  return XXH3_64bits_withSeed(path.data(), BytesIn(path), lastModified);
}

EntryBytes MakeEntry(const StoredFile& file, EntryView record) {
  EntryHead head = HeadOf(file, record);
  EntryBytes entry(sizeof head + head.pathBytes + record.size());
  std::memcpy(entry.data(), &head, sizeof head);
  std::memcpy(entry.data() + sizeof head, file.path.data(), head.pathBytes);
  std::memcpy(entry.data() + sizeof head + head.pathBytes, record.data(), record.size());
  head.checksum = ChecksumOf(entry);
  std::memcpy(entry.data(), &head, sizeof head);
  return entry;
}

EntryView RecordIn(EntryView entry, const StoredFile& file) noexcept {
  EntryHead head;
  if (entry.size() < sizeof head) return {};
  std::memcpy(&head, entry.data(), sizeof head);
  const std::uint64_t whole = sizeof head + std::uint64_t{head.pathBytes} + head.recordSize;
  if (entry.size() != whole || !IsOf(head, file)) return {};
  if (std::memcmp(entry.data() + sizeof head, file.path.data(), head.pathBytes) != 0) return {};
  if (head.checksum != ChecksumOf(entry)) return {};
  return entry.subspan(sizeof head + head.pathBytes);
}

}  // namespace larder::feed
