// Queries for single files. A client of the library like any other: uses its exports only.
#pragma once

#include <larder/feed-file.h>
#include <larder/larder.h>
#include <larder/records.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/file.h"

namespace larder::tool {

inline constexpr std::size_t kMaxUnknownBytes = 64;

struct FileQuestion {
  std::int32_t type = LARDER_FEED_FILE_TYPE;
  std::uint32_t option = 0;
  // Treat a record of any other type than the file provider's as malformed, whatever type was
  // queried.
  bool onlyFileRecords = true;
};

// What the library returned for one file.
struct FileAnswer {
  std::string path;                // to be shown
  std::uint64_t lastModified = 0;  // as passed to the library
  std::uint64_t size = 0;          // of the file in bytes; 0 if unknown
  // A copy of the provider's block; empty if there is no valid one. Of a file record, it has all
  // chains; of a statistics record, the known fields; of any other, kMaxUnknownBytes at most.
  std::vector<unsigned char> block;
  // The library's result; none if it wasn't called, LARDER_E_NO_DATA for a success without a block.
  std::optional<int> result;
  std::string error;  // empty on success

  // Views of the block, by its type. The block must not be empty.
  [[nodiscard]] const DataBlockHeader& Header() const {
    return *reinterpret_cast<const DataBlockHeader*>(block.data());
  }
  [[nodiscard]] const FileDataRecord& Record() const {
    return *reinterpret_cast<const FileDataRecord*>(block.data());
  }
};

// The bytes of a FileObjectDescriptor with the whole path.
std::vector<unsigned char> FileDescriptor(const WideString& path, std::uint64_t lastModified);

// The file's size and time of last change, zeros if they can't be read. No error: the provider
// reports what is wrong with a file.
platform::FileInfo FileInfoOf(const WideString& path);

// Queries the library, validates and copies the record, and frees it. May be called from any
// thread. file: UTF-8, absolute or relative to the current directory.
FileAnswer QueryFile(LarderHandle handle, const FileQuestion& question, const std::string& file);

// The same for a path that the library takes. shown: the answer's path.
FileAnswer QueryPath(LarderHandle handle, const FileQuestion& question, const WideString& path,
                     const std::string& shown);

}  // namespace larder::tool
