// An entry of the store: a file, its state and its record.
#pragma once

#include <larder/provider.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/file.h"
#include "platform/wide.h"

namespace larder::feed {

// Changes with everything that is in the database and with every meaning of it.
inline constexpr std::int64_t kStoreFormat = 2;

struct StoredFile {
  WideView path;
  platform::FileInfo info;
};

using RecordView = std::span<const unsigned char>;

// The 64-bit XXH3 hash of the path's units. folded: the path after FoldCase.
std::uint64_t StoreKey(WideView folded) noexcept;

// Whether two paths are equal. Compares bytes, while the operator of WideView compares units.
inline bool IsSame(WideView one, WideView other) noexcept {
  return std::equal(one.begin(), one.end(), other.begin(), other.end());
}

// An entry on its way to the database.
struct StoreEntry {
  StoreEntry(const StoredFile& file, WideString foldedPath, RecordView bytes);

  // Whether the record is valid for a file in this state.
  bool IsOf(WideView otherFolded, const platform::FileInfo& other) const {
    return info == other && IsSame(folded, otherFolded);
  }
  std::size_t Size() const { return path.size() + sizeof info + record.size(); }

  const WideString folded;
  const std::uint64_t key;
  const std::string path;  // UTF-8, as the client gave it
  const platform::FileInfo info;
  const std::vector<unsigned char> record;
};

// The state of a file as the database has it.
using InfoBytes = std::span<const unsigned char, sizeof(platform::FileInfo)>;
static_assert(std::has_unique_object_representations_v<platform::FileInfo>);
inline InfoBytes BytesOf(const platform::FileInfo& info) noexcept {
  return InfoBytes(reinterpret_cast<const unsigned char*>(&info), sizeof info);
}

// Of everything that an entry contains.
std::uint64_t ChecksumOf(std::string_view path, InfoBytes info, RecordView record) noexcept;

}  // namespace larder::feed
