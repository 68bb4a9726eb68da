// What is known about a file, read from the file itself.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "common/object-identity.h"
#include "platform/file.h"
#include "stock-file-query/hash/digests.h"

namespace larder::feed {

struct FileFacts {
  platform::FileInfo info;
  Digests digests;
  std::optional<Digests> image;  // of an executable image, see image-layout.h
  // The image's, unparsed; empty if the file isn't a signed image.
  std::vector<std::uint8_t> certificateTable;
};

// Reads the whole file; links are followed. Nothing if there is no such file.
// Throws std::system_error with LARDER_E_FILE_ID_MISMATCH if wanted.lastModified isn't 0 and isn't
// the file's, and std::runtime_error, with the path and the reason, if the file isn't a regular
// one, can't be read, or changed while it was read and did so again in a second reading.
std::optional<FileFacts> ReadFileFacts(const platform::DigestLibrary& library,
                                       const ObjectIdentity& wanted);

}  // namespace larder::feed
