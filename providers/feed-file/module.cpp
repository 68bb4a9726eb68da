#include "feed-file/feed-file-provider.h"

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) {
  *out = new larder::feed::FeedFileProvider;
}
