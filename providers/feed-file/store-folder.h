// Where the store lies, and where one goes that can't be used.
//
// Below the product's database directory there is "feed-file\", and in it "store\" with the store
// itself, "turn.lock" and, at times, "set-aside\" with the one that was found damaged, or of
// another format, last.
#pragma once

#include <cstdint>

#include "platform/wide.h"

namespace larder::feed {

// The folder of the store, without a backslash at its end, made with the levels above it. Throws
// std::runtime_error, with the path and the reason, if it can't be made.
WideString MakeStoreFolder();

// The file by which processes take turns at writing: beside the store's folder, so that it outlives
// a store that is set aside.
WideString TurnFile(const WideString& storeFolder);

// The identity of the store's data file; 0 if there is none.
std::uint64_t StoreIndex(const WideString& storeFolder);

// Gives the store's folder its other name, in place of what bore it before, and makes the folder
// anew; returns the other name. Nobody in this process has the store open. Throws as
// MakeStoreFolder: where others have it open it may not be possible.
WideString SetStoreAside(const WideString& storeFolder);

}  // namespace larder::feed
