#include "stock-file-query/stock-file-query.h"

#include <optional>

#include "stock-file-query/digest-set.h"
#include "stock-file-query/file-facts.h"
#include "stock-file-query/file-record.h"

namespace larder::feed {

StockFileQuery::StockFileQuery() { PrepareDigests(); }

bool StockFileQuery::Query(const ObjectIdentity& wanted, platform::FileInfo* seen,
                           DbBuffer* record) {
  const std::optional<FileFacts> facts = ReadFileFacts(wanted);
  if (!facts) return false;
  *record = MakeFileRecord(*facts);
  *seen = facts->info;
  return true;
}

}  // namespace larder::feed
