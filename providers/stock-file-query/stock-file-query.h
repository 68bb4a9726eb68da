// The query module that comes with the file provider: reads the whole file at each query.
#pragma once

#include "common/file-query.h"

namespace larder::feed {

class StockFileQuery final : public IFileQuery {
 public:
  // Readies libgcrypt, not at the same time as any other start of it; throws std::runtime_error if
  // it can't.
  StockFileQuery();

  bool Query(const ObjectIdentity& wanted, platform::FileInfo* seen, DbBuffer* record) override;
};

}  // namespace larder::feed
