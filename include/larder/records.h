/* Larder: the records that cross between clients, the library and provider modules.
 *
 * Everything here is plain data: C11 and C++, no system header, no code. Records are flat runs of
 * bytes without pointers, so a block may be copied, stored and sent as it stands. All integers are
 * little-endian. Offsets are part of the format and are checked below when compiling.
 */
#ifndef LARDER_RECORDS_H
#define LARDER_RECORDS_H

#include <stddef.h>
#include <stdint.h>
#if !defined(_WIN32) && !defined(__cplusplus)
#include <uchar.h>
#endif

#ifdef __cplusplus
#define LARDER_STATIC_ASSERT(condition, text) static_assert(condition, text)
#else
#define LARDER_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

/* One 16-bit unit of wide text (UTF-16), and a literal of such text. Paths carry backslashes on
 * every system. */
#ifdef _WIN32
typedef wchar_t LarderWideChar;
#define LARDER_WIDE(literal) L##literal
#else
typedef char16_t LarderWideChar;
#define LARDER_WIDE(literal) u##literal
#endif
LARDER_STATIC_ASSERT(sizeof(LarderWideChar) == 2, "wide text is made of 16-bit units");

/* The head of every data block of every provider. The library reads these two words of a block
 * and nothing else. */
typedef struct DataBlockHeader {
  uint32_t dataSize;    /* size of the whole block in bytes, this header included */
  int32_t providerType; /* type of the provider that made the block; it gets the block back */
} DataBlockHeader;

/* Names a file for the file provider (and for the test provider). Only the first unit of the path
 * is declared: the text goes on behind it, up to a terminating NUL, as far as its owner made room.
 * A client may use a struct of its own with the same two fields and a longer array. */
typedef struct FileObjectDescriptor {
  uint32_t lastModified[2];   /* last modification, low word first, as one 64-bit number: count of
                                 100 ns since 1601-01-01 UTC (FILETIME); 0: whatever is there now */
  LarderWideChar filePath[1]; /* full path of the file, NUL-terminated */
} FileObjectDescriptor;

/* What the file provider knows about one file. The first CertChainRecord follows at offset 384. */
typedef struct FileDataRecord {
  uint32_t dataSize;
  int32_t providerType;
  uint64_t fileId;     /* identity of the file in the provider's store */
  uint8_t fileMD5[16]; /* digests of the file's bytes */
  uint8_t fileSHA1[20];
  uint8_t fileSHA256[32];
  uint8_t fileSHA384[48];
  uint8_t fileSHA512[64];
  uint8_t peMD5[16]; /* digests of the file as an executable image; zero when there are none */
  uint8_t peSHA1[20];
  uint8_t peSHA256[32];
  uint8_t peSHA384[48];
  uint8_t peSHA512[64];
  uint8_t reserved[8]; /* passed along, not interpreted */
} FileDataRecord;

/* One certificate chain; its first CertDataRecord follows at offset 8. Links are distances in
 * bytes from the start of the record that holds them, never pointers. There is no count: a list
 * ends at the 0 link. A file without certificates has one chain with one certificate of size 0. */
typedef struct CertChainRecord {
  uint32_t nextChain; /* distance to the next CertChainRecord; 0 in the last one */
  uint32_t reserved;  /* passed along, not interpreted */
} CertChainRecord;

/* One certificate, X.509 in DER (RFC 5280); its certSize bytes follow at offset 8. */
typedef struct CertDataRecord {
  uint32_t nextCert; /* distance to the next CertDataRecord of the chain; 0 in the last one */
  uint32_t certSize; /* bytes of the certificate; may be 0 */
} CertDataRecord;

#define LARDER_CHECK_OFFSET(record, field, offset) \
  LARDER_STATIC_ASSERT(offsetof(record, field) == (offset), #record "." #field " moved")

LARDER_CHECK_OFFSET(DataBlockHeader, dataSize, 0);
LARDER_CHECK_OFFSET(DataBlockHeader, providerType, 4);
LARDER_STATIC_ASSERT(sizeof(DataBlockHeader) == 8, "DataBlockHeader is 8 bytes");
LARDER_CHECK_OFFSET(FileObjectDescriptor, lastModified, 0);
LARDER_CHECK_OFFSET(FileObjectDescriptor, filePath, 8);
LARDER_CHECK_OFFSET(FileDataRecord, dataSize, 0);
LARDER_CHECK_OFFSET(FileDataRecord, providerType, 4);
LARDER_CHECK_OFFSET(FileDataRecord, fileId, 8);
LARDER_CHECK_OFFSET(FileDataRecord, fileMD5, 16);
LARDER_CHECK_OFFSET(FileDataRecord, fileSHA1, 32);
LARDER_CHECK_OFFSET(FileDataRecord, fileSHA256, 52);
LARDER_CHECK_OFFSET(FileDataRecord, fileSHA384, 84);
LARDER_CHECK_OFFSET(FileDataRecord, fileSHA512, 132);
LARDER_CHECK_OFFSET(FileDataRecord, peMD5, 196);
LARDER_CHECK_OFFSET(FileDataRecord, peSHA1, 212);
LARDER_CHECK_OFFSET(FileDataRecord, peSHA256, 232);
LARDER_CHECK_OFFSET(FileDataRecord, peSHA384, 264);
LARDER_CHECK_OFFSET(FileDataRecord, peSHA512, 312);
LARDER_CHECK_OFFSET(FileDataRecord, reserved, 376);
LARDER_STATIC_ASSERT(sizeof(FileDataRecord) == 384, "the first chain lies at offset 384");
LARDER_CHECK_OFFSET(CertChainRecord, nextChain, 0);
LARDER_STATIC_ASSERT(sizeof(CertChainRecord) == 8, "the first certificate lies at offset 8");
LARDER_CHECK_OFFSET(CertDataRecord, nextCert, 0);
LARDER_CHECK_OFFSET(CertDataRecord, certSize, 4);
LARDER_STATIC_ASSERT(sizeof(CertDataRecord) == 8, "the certificate's bytes lie at offset 8");

#undef LARDER_CHECK_OFFSET

#endif
