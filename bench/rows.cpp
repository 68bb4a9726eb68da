#include "rows.h"

namespace larder {
namespace {

using enum Kind;
using enum Unit;

constexpr Row kRows[] = {
    {"query", "LarderQuery + LarderFreeQuery, log off", "QueryAndFree", "VirtualCalls",
     "the same provider, called directly", kMore, kNanoseconds, 12, 8},
    {"query", "the same, 2 threads", "QueryAndFreeBy2", "QueryAndFree", "1 thread", kSpeed,
     kNanoseconds, 1.9, 2.0},
    {"query", "LarderWrite of 1 MiB, log off", "Write", "CopyAndDelete", "new + memcpy + delete",
     kTimes, kNanoseconds, 1.1, 1.02},
    // Before the logger's, which open the gate for good.
    {"statement", "closed log statement", "ClosedStatement", "EmptyLoop", "empty loop", kMore,
     kNanoseconds, 0.2, 0.1},
    {"statement", "closed ScopeTrace", "ClosedScope", "EmptyLoop", "empty loop", kMore,
     kNanoseconds, 0.5, 0.3},
    {"logger", "open statement, burst, 1 thread", "Burst", "SpdlogBurst", "spdlog, async", kTimes,
     kNanoseconds, 0.7, 0.4},
    {"logger", "open statement, burst, 2 threads", "BurstBy2", "SpdlogBurstBy2", "spdlog, async",
     kTimes, kNanoseconds, 0.7, 0.35},
    {"logger", "lines into rotating files, drained", "Drained", "SpdlogDrained",
     "spdlog, async, flushing each line", kSpeed, kNanoseconds, 1.3, 1.6},
    {"logger", "memory for a queued line beyond its text", "QueuedLine", "SpdlogSlot",
     "spdlog's queue slot", kFigure, kBytes, 128, 64},
    {"trace", "open statement into a session of LTTng", "TracedStatement", "Tracepoint",
     "the tracepoint, the same text", kTimes, kNanoseconds, 2.5, 1.6},
    {"init", "LarderInit + LarderRelease, 1 module", "InitAndRelease/1", "LoadAndUnload/1",
     "dlopen + dlsym + dlclose, a thread", kTimes, kNanoseconds, 1.5, 1.2},
    {"init", "LarderInit + LarderRelease, 3 modules", "InitAndRelease/3", "LoadAndUnload/3",
     "dlopen + dlsym + dlclose, a thread", kTimes, kNanoseconds, 1.5, 1.2},
    {"subkeys", "LarderInit, for each of 10,000 subkeys without a module", "InitWithSubkeys/10000",
     "InitWithSubkeys/1000", "for each of 1,000", kFigure, kNanoseconds, 40'000, 15'000},
    {"digests", "five digests of 256 MiB", "FiveDigests", "RhashDigests", "rhash", kSpeed,
     kNanoseconds, 1.9, 2.25},
    {"digests", "ten digests of a signed image of 256 MiB", "TenDigests", "RhashDigests",
     "rhash, five", kSpeed, kNanoseconds, 1.0, 1.15},
    {"store", "a hit for a file asked about again", "StoreHit", "Select",
     "the store's own SELECT, prepared", kTimes, kNanoseconds, 0.6, 0.4},
    {"store", "a hit for the same file again and again", "StoreHitSameFile", "SelectSameRow",
     "the store's own SELECT, prepared", kTimes, kNanoseconds, 0.6, 0.4},
    {"store", "a hit by a session of client.hpp", "SessionHit", "StoreHit", "the C functions",
     kTimes, kNanoseconds, 1.05, 1.02},
    {"store", "a first hit among 1,000,000 entries", "StoreFirstHit/1000000", "StoreFirstHit/1000",
     "among 1,000", kTimes, kNanoseconds, 1.8, 1.5},
    {"scan", "scan of /usr/bin, nothing stored", "ScanWithEmptyStore", "RhashTree",
     "rhash, the same files", kSpeed, kNanoseconds, 2.0, 2.5},
    {"scan", "scan of /usr/bin, all stored", "ScanWithFullStore", "RhashTree",
     "rhash, the same files", kSpeed, kNanoseconds, 60, 100},
    {"dump", "dump of a record with 12 certificates", "Dump", "ParseCertificates",
     "openssl parses them", kTimes, kNanoseconds, 1.5, 1.0},
    {"size", "the library, stripped", "LibrarySize", "", "", kFigure, kBytes, 200'000, 150'000},
};

}  // namespace

std::span<const Row> Rows() { return kRows; }

}  // namespace larder
