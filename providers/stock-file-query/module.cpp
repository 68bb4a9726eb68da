#include "stock-file-query/stock-file-query.h"

LARDER_PROVIDER_EXPORT void GetFileQuery(larder::feed::IFileQuery** out) {
  *out = new larder::feed::StockFileQuery;
}
