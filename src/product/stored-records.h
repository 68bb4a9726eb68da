// The records in the file provider's store, for the tool. The interface is private to the two, and
// both must come from one build.
#pragma once

#include <functional>
#include <span>
#include <string_view>

#include "platform/file.h"

namespace larder {

// Called with each entry of the store. path: as the client gave it, in UTF-8. info: the file's
// state; the record is valid while the file is in the same one. record: at any address, and not
// validated. All are valid during the call. Returns false to end the visit.
using StoredRecordVisitor = std::function<bool(
    std::string_view path, const platform::FileInfo& info, std::span<const unsigned char> record)>;

// The reason why there is no store if the registry switches it off.
inline constexpr char kStoreIsOff[] = "dwStoreLimitMiB is 0";

// The export VisitStoredRecords of the file provider's module. Calls visit for each entry, in no
// particular order. Throws a std::exception with the reason if there is no store, or if it can't be
// read to its end; entries may have been visited then. The process must have a provider's object.
// May be called from any thread.
using VisitStoredRecordsFunction = void (*)(const StoredRecordVisitor& visit);

}  // namespace larder
