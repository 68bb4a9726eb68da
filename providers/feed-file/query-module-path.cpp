#include "feed-file/query-module-path.h"

#include "common/registry-value.h"

namespace larder::feed {

WideString QueryModulePath() {
  const WideString location = ReadRegistryText(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"));
  const WideString file =
      ReadRegistryText(LARDER_WIDE("DataProviders\\FeedFile"), LARDER_WIDE("szFileQuery"));
  return location + (file.empty() ? LARDER_WIDE("stock-file-query.dll") : file);
}

}  // namespace larder::feed
