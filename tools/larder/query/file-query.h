// One file asked about through the library. A client like any other: exports only.
#pragma once

#include <larder/feed-file.h>
#include <larder/larder.h>

#include <cstdint>
#include <string>

#include "platform/file.h"
#include "tools/larder/query/file-answer.h"

namespace larder::tool {

struct FileQuestion {
  std::int32_t type = LARDER_FEED_FILE_TYPE;
  std::uint32_t option = 0;
  // Any other record is a fault then, whatever the type that was asked.
  bool onlyFileRecords = true;
};

// What is there now; zeros when it can't be told. What is wrong with the file is for the provider
// to say.
platform::FileInfo FileInfoOf(const WideString& path);

// Asks, checks the record, copies it and gives it back. Any number of threads at the same time.
// file: UTF-8, relative to the current directory if it isn't full.
FileAnswer QueryFile(LarderHandle handle, const FileQuestion& question, const std::string& file);

}  // namespace larder::tool
