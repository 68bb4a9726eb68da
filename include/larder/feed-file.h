/* Larder: the client interface of the file provider (feed-file.dll). Constants only; C11 and C++.
 *
 * The object descriptor is a FileObjectDescriptor and the data block a FileDataRecord, both in
 * larder/records.h. lastModified selects a version of the file: LarderQuery returns
 * LARDER_E_FILE_ID_MISMATCH if the file has another modification time. 0 selects the current
 * version.
 *
 * The record. Each chain and each certificate begins at or after the end of the one before it and
 * ends within dataSize. There is at least one chain with one certificate; a file without
 * certificates has one of size 0. Digests that don't apply are zero. fileId identifies the file
 * within one machine and stays the same as long as the file does.
 *
 * LarderWrite stores a record that the caller computed, in place of the provider's own. A
 * lastModified of 0 stores it for the current version. The provider sets fileId. The call fails
 * with LARDER_E_GENERIC, and the log has the reason, if
 *   - the record breaks the rules above, or its providerType isn't LARDER_FEED_FILE_TYPE;
 *   - the file doesn't exist, can't be opened, has another modification time, or changed only a
 *     moment ago;
 *   - a program has the file open for writing, or the system doesn't say whether one has;
 *   - its file system isn't known to record every change;
 *   - the provider has no store. */
#ifndef LARDER_FEED_FILE_H
#define LARDER_FEED_FILE_H

#include <larder/records.h>

/* providerType of LarderQuery and LarderWrite. */
#define LARDER_FEED_FILE_TYPE 1

/* queryOption of LarderQuery; any other value returns LARDER_E_GENERIC.
 *
 * NOW: the current record, from the store if the file hasn't changed since; otherwise computed and,
 * if possible, stored. */
#define LARDER_FEED_FILE_NOW 0u
/* STORED: the current record from the store, or LARDER_E_NO_DATA. Never reads the file's bytes. */
#define LARDER_FEED_FILE_STORED 1u
/* AFRESH: always computed from the file's bytes, then stored if possible. */
#define LARDER_FEED_FILE_AFRESH 2u

#endif
