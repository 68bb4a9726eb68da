#include "feed-stats/feed-stats-provider.h"

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) {
  *out = new larder::feed::FeedStatsProvider;
}
