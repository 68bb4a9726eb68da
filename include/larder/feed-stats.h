/* Larder: the data block of the statistics provider (feed-stats.dll). Plain data; C11 and C++.
 *
 * Later versions only append fields; no field is moved, removed or redefined. Every version has the
 * first LARDER_FEED_STATS_FIRST_SIZE bytes. A client must check dataSize before it reads a later
 * field.
 */
#ifndef LARDER_FEED_STATS_H
#define LARDER_FEED_STATS_H

#include <larder/records.h>

/* providerType of LarderQuery and LarderWrite. */
#define LARDER_FEED_STATS_TYPE 3
/* Bytes that every version of the record has. */
#define LARDER_FEED_STATS_FIRST_SIZE 56u

/* Calls to the statistics provider since it was loaded into this process, including the calls that
 * created this block. Each counter is exact. The counters are read one after the other, so while
 * other threads call, one may be ahead of another. */
typedef struct FeedStatsRecord {
  uint32_t dataSize;       /* as in DataBlockHeader */
  int32_t providerType;    /* as in DataBlockHeader: LARDER_FEED_STATS_TYPE */
  uint64_t since;          /* start of counting: 100 ns units since 1601-01-01 UTC (FILETIME) */
  uint64_t getKeyCalls;    /* one for each LarderQuery and LarderWrite */
  uint64_t queryCalls;     /* this one included */
  uint64_t freeQueryCalls; /* blocks freed */
  uint64_t writeCalls;     /* LarderWrite */
  uint64_t bytesWritten;   /* total size of the blocks written, including their headers */

  /* The file provider (feed-file.dll) in this process and its store; all zero without one. All
   * processes of the machine share the store; each has its own counters. */
  uint64_t storeSince;    /* start of counting, in the units of since */
  uint64_t storeEntries;  /* records in the store, one for each path */
  uint64_t storeBytes;    /* bytes in use in the store's file */
  uint64_t storeHits;     /* queries answered from the store */
  uint64_t storeMisses;   /* queries for which the store had no current record */
  uint64_t filesComputed; /* queries answered by reading the file */
  uint64_t storeRefused;  /* computed and written records that weren't stored */
} FeedStatsRecord;

LARDER_CHECK_OFFSET(FeedStatsRecord, dataSize, 0);
LARDER_CHECK_OFFSET(FeedStatsRecord, providerType, 4);
LARDER_CHECK_OFFSET(FeedStatsRecord, since, 8);
LARDER_CHECK_OFFSET(FeedStatsRecord, getKeyCalls, 16);
LARDER_CHECK_OFFSET(FeedStatsRecord, queryCalls, 24);
LARDER_CHECK_OFFSET(FeedStatsRecord, freeQueryCalls, 32);
LARDER_CHECK_OFFSET(FeedStatsRecord, writeCalls, 40);
LARDER_CHECK_OFFSET(FeedStatsRecord, bytesWritten, 48);
LARDER_CHECK_OFFSET(FeedStatsRecord, storeSince, 56);
LARDER_CHECK_OFFSET(FeedStatsRecord, storeEntries, 64);
LARDER_CHECK_OFFSET(FeedStatsRecord, storeBytes, 72);
LARDER_CHECK_OFFSET(FeedStatsRecord, storeHits, 80);
LARDER_CHECK_OFFSET(FeedStatsRecord, storeMisses, 88);
LARDER_CHECK_OFFSET(FeedStatsRecord, filesComputed, 96);
LARDER_CHECK_OFFSET(FeedStatsRecord, storeRefused, 104);
LARDER_STATIC_ASSERT(sizeof(FeedStatsRecord) >= LARDER_FEED_STATS_FIRST_SIZE, "the record shrank");

#endif
