// The query module that comes with the file provider: reads the whole file at each query.
#pragma once

#include "common/file-query.h"
#include "platform/digest.h"

namespace larder::feed {

class StockFileQuery final : public IFileQuery {
 public:
  // Throws std::runtime_error if the system refuses one of the digests.
  StockFileQuery();

  bool Query(const ObjectIdentity& wanted, platform::FileInfo* seen, DbBuffer* record) override;

 private:
  platform::AutoDigestLibrary library;
};

}  // namespace larder::feed
