/* Larder: the block of the statistics provider (feed-stats.dll). Plain data, C11 and C++.
 *
 * The record grows at its end and in no other way: no field is ever moved, taken away or given
 * another meaning. A client looks at dataSize before it reads a field that its oldest provider
 * doesn't have; LARDER_FEED_STATS_FIRST_SIZE bytes are there in every version.
 */
#ifndef LARDER_FEED_STATS_H
#define LARDER_FEED_STATS_H

#include <larder/records.h>

/* The provider's type, for LarderQuery and LarderWrite. */
#define LARDER_FEED_STATS_TYPE 3
#define LARDER_FEED_STATS_FIRST_SIZE 56u

/* What has been asked of the provider since it was loaded into this process. The calls that made
 * the block are counted in it. Each count is exact, but while other threads call they needn't fit
 * together: one may be a call ahead of another. */
typedef struct FeedStatsRecord {
  uint32_t dataSize;       /* as in DataBlockHeader */
  int32_t providerType;    /* as in DataBlockHeader: LARDER_FEED_STATS_TYPE */
  uint64_t since;          /* when counting began: 100 ns since 1601-01-01 UTC (FILETIME) */
  uint64_t getKeyCalls;    /* one for each LarderQuery and LarderWrite */
  uint64_t queryCalls;     /* this one included */
  uint64_t freeQueryCalls; /* blocks that came back */
  uint64_t writeCalls;
  uint64_t bytesWritten; /* the sum of the written blocks' sizes, headers included */

  /* The file provider (feed-file.dll) of this process and its store; all zero where there is none.
   * The store is shared by all processes of the machine, the counts are this process's own. */
  uint64_t storeSince;    /* when these counts began, as since */
  uint64_t storeEntries;  /* files, or versions of files, that facts are stored of */
  uint64_t storeBytes;    /* that they take up on disk */
  uint64_t storeHits;     /* queries that were answered from the store */
  uint64_t storeMisses;   /* queries for which nothing that still holds was found there */
  uint64_t filesComputed; /* queries that were answered by reading the file */
  uint64_t storeRefused;  /* facts and written blocks that weren't stored */
} FeedStatsRecord;

LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, dataSize) == 0, "dataSize moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, providerType) == 4, "providerType moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, since) == 8, "since moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, getKeyCalls) == 16, "getKeyCalls moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, queryCalls) == 24, "queryCalls moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, freeQueryCalls) == 32, "freeQueryCalls moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, writeCalls) == 40, "writeCalls moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, bytesWritten) == 48, "bytesWritten moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, storeSince) == 56, "storeSince moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, storeEntries) == 64, "storeEntries moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, storeBytes) == 72, "storeBytes moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, storeHits) == 80, "storeHits moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, storeMisses) == 88, "storeMisses moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, filesComputed) == 96, "filesComputed moved");
LARDER_STATIC_ASSERT(offsetof(FeedStatsRecord, storeRefused) == 104, "storeRefused moved");
LARDER_STATIC_ASSERT(sizeof(FeedStatsRecord) >= LARDER_FEED_STATS_FIRST_SIZE, "the record shrank");

#endif
