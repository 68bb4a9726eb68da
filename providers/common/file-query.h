// What the file provider and its query module agree on. The agreement is private to the two, and
// both must come from one build: it may change with every version.
//
// A query module is a dynamic library that exports one function, GetFileQuery. The provider loads
// it when its own object is made and unloads it when that object goes, after the module's.
#pragma once

#include <larder/provider.h>

#include <cstdint>

#include "common/object-identity.h"
#include "platform/file.h"

namespace larder::feed {

// The fileId of a file's record. The volume is spread over all bits, so that files of two volumes
// that have the same index differ.
inline std::uint64_t FileIdOf(const platform::FileInfo& info) noexcept {
  return info.index ^ (info.volume * 0x9E3779B97F4A7C15u);
}

class IFileQuery {
 public:
  // Computes what is known about a file, links followed. False if there is no such file; seen and
  // record stay as they were then, and when an exception leaves.
  // seen: the file as it was while its bytes were read. record: a FileDataRecord with all its
  // chains, as one block.
  // Throws std::system_error with LARDER_E_FILE_ID_MISMATCH if wanted.lastModified isn't 0 and
  // isn't the file's, and std::runtime_error, with the path and the reason, if nothing can be told
  // of what is there. Any thread, any number of calls at the same time.
  virtual bool Query(const ObjectIdentity& wanted, platform::FileInfo* seen, DbBuffer* record) = 0;

  virtual ~IFileQuery() = default;  // lets nothing out

  IFileQuery(const IFileQuery&) = delete;
  IFileQuery& operator=(const IFileQuery&) = delete;

 protected:
  IFileQuery() = default;
};

// The export. Stores a new object through out, which is the caller's from then on; throws a
// std::exception if it can't make one.
using GetFileQueryFunction = void (*)(IFileQuery** out);

}  // namespace larder::feed
