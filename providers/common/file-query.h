// The interface between the file provider and its query module. It is private to the two and may
// change with every version, so both must come from one build.
//
// A query module is a dynamic library that exports one function, GetFileQuery. The provider loads
// it when the provider's object is created. When that object is destroyed, it destroys the module's
// object and unloads the module.
#pragma once

#include <larder/provider.h>

#include <cstdint>

#include "common/object-identity.h"
#include "platform/file.h"

namespace larder::feed {

// The fileId of a file's record. The multiplication spreads the volume over all bits, so that files
// with the same index on two volumes get different values.
inline std::uint64_t FileIdOf(const platform::FileInfo& info) noexcept {
  return info.index ^ (info.volume * 0x9E3779B97F4A7C15u);
}

// The state of a file while its bytes were read.
struct SeenFile {
  platform::FileInfo info;
  // Whether every other content that the file ever has must come with another info.
  bool isStorable = false;
};

// Whether any change of the file after the moment must give it another change time: its own is
// before the moment. A file system that keeps whole seconds stamps alike until the second is over.
// moment: FileStampTime before the file was queried.
inline bool IsSettled(const platform::FileInfo& info, std::uint64_t moment) noexcept {
  constexpr std::uint64_t kSecond = 10'000'000;
  if (info.changed % kSecond == 0) return info.changed + kSecond <= moment;
  return info.changed < moment;
}

class IFileQuery {
 public:
  // Computes the record of a file; links are followed. Returns false if the file doesn't exist.
  // seen: receives the file's state. record: receives a FileDataRecord with all its chains, as one
  // block. Both are set only when true is returned.
  // Throws std::system_error with LARDER_E_FILE_ID_MISMATCH if wanted.lastModified is neither 0 nor
  // the file's, and std::runtime_error, with the path and the reason, if the file can't be read.
  // Thread-safe; calls may run at the same time.
  virtual bool Query(const ObjectIdentity& wanted, SeenFile* seen, DbBuffer* record) = 0;

  virtual ~IFileQuery() = default;

  IFileQuery(const IFileQuery&) = delete;
  IFileQuery& operator=(const IFileQuery&) = delete;

 protected:
  IFileQuery() = default;
};

// The export GetFileQuery. Stores a new object in *out, which the caller owns; throws a
// std::exception if it can't create one.
using GetFileQueryFunction = void (*)(IFileQuery** out);

}  // namespace larder::feed
