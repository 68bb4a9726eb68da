#include "tools/larder/windows/folder-entry.h"

#include "platform/wide.h"

namespace larder::tool {
namespace {

// Attributes that not every version of the system's headers has: FILE_ATTRIBUTE_RECALL_ON_OPEN and
// FILE_ATTRIBUTE_RECALL_ON_DATA_ACCESS.
constexpr DWORD kRecallOnOpen = 0x40000;
constexpr DWORD kRecallOnDataAccess = 0x400000;
constexpr DWORD kRemote = kRecallOnOpen | kRecallOnDataAccess | FILE_ATTRIBUTE_OFFLINE;

// A folder with any reparse point may have its entries elsewhere. The reparse point of a file may
// only describe how the file is stored, unless it is a surrogate, which refers to another file.
EntryKind KindOf(const WIN32_FIND_DATAW& found) {
  const DWORD attributes = found.dwFileAttributes;
  const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const bool isReparsePoint = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  if (isReparsePoint && (isFolder || IsReparseTagNameSurrogate(found.dwReserved0)))
    return EntryKind::kLink;
  if ((attributes & FILE_ATTRIBUTE_DEVICE) != 0) return EntryKind::kOther;
  return isFolder ? EntryKind::kFolder : EntryKind::kRegular;
}

}  // namespace

FolderEntry EntryOf(const WIN32_FIND_DATAW& found) {
  FolderEntry entry;
  entry.name = platform::Utf8FromWide(found.cFileName);
  entry.kind = KindOf(found);
  entry.size = std::uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
  entry.isRemote = (found.dwFileAttributes & kRemote) != 0;
  return entry;
}

}  // namespace larder::tool
