// The file provider's own query module. Each query reads the whole file.
#pragma once

#include "common/file-query.h"
#include "platform/digest.h"

namespace larder::feed {

class StockFileQuery final : public IFileQuery {
 public:
  // Throws std::runtime_error if the system lacks one of the digests.
  StockFileQuery();

  bool Query(const ObjectIdentity& wanted, platform::FileInfo* seen, DbBuffer* record) override;

 private:
  platform::AutoDigestLibrary library;
};

}  // namespace larder::feed
