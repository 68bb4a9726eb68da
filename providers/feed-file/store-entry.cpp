#include "feed-file/store-entry.h"

#include <xxhash.h>

#include <utility>

namespace larder::feed {

std::uint64_t StoreKey(WideView folded) noexcept {
  return XXH3_64bits(folded.data(), folded.size() * sizeof(LarderWideChar));
}

StoreEntry::StoreEntry(const StoredFile& file, WideString foldedPath, RecordView bytes)
    : folded(std::move(foldedPath)),
      key(StoreKey(folded)),
      path(platform::Utf8FromWide(WideString(file.path))),
      info(file.info),
      record(bytes.begin(), bytes.end()) {}

std::uint64_t ChecksumOf(std::string_view path, InfoBytes info, RecordView record) noexcept {
  const std::uint64_t ofPath = XXH3_64bits(path.data(), path.size());
  const std::uint64_t ofInfo = XXH3_64bits_withSeed(info.data(), info.size(), ofPath);
  return XXH3_64bits_withSeed(record.data(), record.size(), ofInfo);
}

}  // namespace larder::feed
