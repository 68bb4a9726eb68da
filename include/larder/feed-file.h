/* Larder: what clients of the file provider (feed-file.dll) have to know. Plain data, C11 and C++.
 *
 * An object is named by a FileObjectDescriptor, and its block is a FileDataRecord; both are in
 * larder/records.h. lastModified says which version of the file is meant: if the file has another
 * time, LarderQuery returns LARDER_E_FILE_ID_MISMATCH. 0 means the version that is there now.
 *
 * Rules of the record. Its chains and certificates are linked by distances: each lies behind the
 * one before it, whole, and within dataSize. fileId is the same as long as it is the same file, on
 * one machine. Digests that don't apply are zero. There is at least one chain, and one certificate
 * in it, which is of size 0 when there is none.
 *
 * LarderWrite stores a record that was made elsewhere, in place of what would be computed here. It
 * fails (LARDER_E_GENERIC, with the reason in the log) for a record that breaks these rules or
 * whose providerType isn't LARDER_FEED_FILE_TYPE, for a file that isn't there, has another time
 * than lastModified or was changed only a moment ago, and without a store. With a lastModified of 0
 * the record is taken for the version that is there now. fileId is set by the provider. */
#ifndef LARDER_FEED_FILE_H
#define LARDER_FEED_FILE_H

#include <larder/records.h>

/* The provider's type, for LarderQuery and LarderWrite. */
#define LARDER_FEED_FILE_TYPE 1

/* queryOption of LarderQuery. Any other gives LARDER_E_GENERIC.
 *
 * The facts as they are now: from the store if the file hasn't changed since they were stored, else
 * computed, and stored. */
#define LARDER_FEED_FILE_NOW 0u
/* From the store or not at all (LARDER_E_NO_DATA): the file's bytes are never read. What is stored
 * of an earlier version counts as nothing. */
#define LARDER_FEED_FILE_STORED 1u
/* Computed from the file's bytes, whatever is stored; then stored. */
#define LARDER_FEED_FILE_AFRESH 2u

#endif
