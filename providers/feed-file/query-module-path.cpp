#include "feed-file/query-module-path.h"

#include "common/registry-value.h"
#include "product/product.h"

namespace larder::feed {

WideString QueryModulePath() {
  const WideString location = ReadRegistryText(kInstallKey, kLocationValue);
  const WideString file = ReadRegistryText(kFeedFileKey, kQueryModuleValue);
  return location + (file.empty() ? kStockQueryModule : file);
}

}  // namespace larder::feed
