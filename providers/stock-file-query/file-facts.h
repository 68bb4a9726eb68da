// What one pass over a file yields.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "common/file-query.h"
#include "common/object-identity.h"
#include "stock-file-query/hash/digests.h"

namespace larder::feed {

struct FileFacts {
  SeenFile file;  // its info is the same before and after the pass
  Digests digests;
  std::optional<Digests> image;  // of an executable image, see image-layout.h
  // Unparsed; empty if the file isn't a signed image.
  std::vector<std::uint8_t> certificateTable;
};

// Reads the whole file; links are followed. Nothing if the file doesn't exist.
// Throws std::system_error with LARDER_E_FILE_ID_MISMATCH if wanted.lastModified is neither 0 nor
// the file's, and std::runtime_error, with the path and the reason, if the file isn't a regular
// one, can't be read, or has changed during two attempts to read it.
std::optional<FileFacts> ReadFileFacts(const platform::DigestLibrary& library,
                                       const ObjectIdentity& wanted);

}  // namespace larder::feed
