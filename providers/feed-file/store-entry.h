// An entry of the store: a file, its state and its record.
//
// The key is only a hash. So the entry contains everything that distinguishes two files or two
// states of one file, and a checksum of the whole. The format is private to this module and in the
// machine's byte order; kStoreFormat changes with it.
#pragma once

#include <larder/provider.h>

#include <cstdint>
#include <span>
#include <vector>

#include "platform/file.h"
#include "platform/wide.h"

namespace larder::feed {

inline constexpr std::uint32_t kStoreFormat = 1;

struct StoredFile {
  WideView path;  // after FoldCase
  platform::FileInfo info;
};

using EntryBytes = std::vector<unsigned char>;
using EntryView = std::span<const unsigned char>;

// The 64-bit XXH3 hash of the path's units, with the time as seed. path: after FoldCase.
std::uint64_t StoreKey(WideView path, std::uint64_t lastModified) noexcept;

EntryBytes MakeEntry(const StoredFile& file, EntryView record);

// The record in the entry if the entry is intact and belongs to this file in this state; otherwise
// empty. The entry may have any alignment.
EntryView RecordIn(EntryView entry, const StoredFile& file) noexcept;

}  // namespace larder::feed
