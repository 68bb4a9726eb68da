// The store that all provider objects of the process share, so that they share its cache and its
// thread.
#pragma once

#include <memory>

#include "feed-file/fact-store.h"
#include "product/stored-records.h"

namespace larder::feed {

// Opens the store unless somebody holds it; it is closed when the last holder releases it.
// dwStoreLimitMiB of the registry's key DataProviders\FeedFile limits its size. The child of a fork
// has no store. May be called from any thread.
std::shared_ptr<FactStore> SharedStore();

// Zeros while nobody holds the store. May be called from any thread.
FileFigures SharedFigures();

// Calls visit for each entry; see product/stored-records.h. Throws StoreError with the reason if
// there is no store, and as FactStore::VisitAll. May be called from any thread.
void VisitShared(const StoredRecordVisitor& visit);

}  // namespace larder::feed
