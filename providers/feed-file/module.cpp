#include "feed-file/feed-file-provider.h"
#include "feed-file/shared-store.h"

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) {
  *out = new larder::feed::FeedFileProvider;
}

LARDER_PROVIDER_EXPORT void GetFileFigures(larder::feed::FileFigures* out) {
  *out = larder::feed::SharedFigures();
}
