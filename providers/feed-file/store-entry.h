// What the store keeps under one key: which file, in which state, and its record.
//
// The key is a hash, and no identity: everything that tells two files, or two states of one, apart
// stands in the entry too, and a checksum over all of it. The form is this module's own, in the
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
  WideView path;  // FoldCase of it
  platform::FileInfo info;
};

using EntryBytes = std::vector<unsigned char>;
using EntryView = std::span<const unsigned char>;

// xxHash (XXH3, 64 bits) of the path's units, with the time as seed. path: FoldCase of it.
std::uint64_t StoreKey(WideView path, std::uint64_t lastModified) noexcept;

EntryBytes MakeEntry(const StoredFile& file, EntryView record);

// The record within an entry (of any alignment), if the entry is whole and is that of this file in
// this state; else empty.
EntryView RecordIn(EntryView entry, const StoredFile& file) noexcept;

}  // namespace larder::feed
