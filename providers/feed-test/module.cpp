#include "feed-test/feed-test-provider.h"

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) {
  *out = new larder::feed::FeedTestProvider;
}
