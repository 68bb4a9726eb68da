/* Larder: the records exchanged between clients, the library and provider modules.
 *
 * Plain data: C11 and C++, no system header, no code. A record contains no pointers, so it can be
 * copied, stored and sent as is. Integers are little-endian. The offsets are part of the format and
 * are checked at compile time.
 */
#ifndef LARDER_RECORDS_H
#define LARDER_RECORDS_H

#include <stddef.h>
#include <stdint.h>
#if !defined(_WIN32) && !defined(__cplusplus)
#include <uchar.h>
#endif

/* The static assertion of C11 and of C++. */
#ifdef __cplusplus
#define LARDER_STATIC_ASSERT(condition, text) static_assert(condition, text)
#else
#define LARDER_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

/* A UTF-16 code unit. Paths use backslashes on every system. */
#ifdef _WIN32
typedef wchar_t LarderWideChar;
#else
typedef char16_t LarderWideChar;
#endif
/* A string literal of UTF-16 code units. */
#ifdef _WIN32
#define LARDER_WIDE(literal) L##literal
#else
#define LARDER_WIDE(literal) u##literal
#endif
LARDER_STATIC_ASSERT(sizeof(LarderWideChar) == 2, "a wide character is 16 bits");

/* Every data block of every provider begins with this header. The library reads nothing else of a
 * block. */
typedef struct DataBlockHeader {
  uint32_t dataSize;    /* bytes in the whole block, including this header */
  int32_t providerType; /* the provider that created the block, and that frees it */
} DataBlockHeader;

/* The object descriptor of the file provider and of the test provider. The path continues past the
 * declared unit, up to its NUL. A client declares a struct with the same two fields and a longer
 * array. */
typedef struct FileObjectDescriptor {
  uint32_t lastModified[2];   /* modification time, a 64-bit number with the low word first: 100 ns
                                 units since 1601-01-01 UTC (FILETIME); 0: the current version */
  LarderWideChar filePath[1]; /* full path of the file, NUL-terminated */
} FileObjectDescriptor;

/* The file provider's data block. The first CertChainRecord follows at offset 384. */
typedef struct FileDataRecord {
  uint32_t dataSize;      /* as in DataBlockHeader */
  int32_t providerType;   /* as in DataBlockHeader */
  uint64_t fileId;        /* identity of the file within the machine */
  uint8_t fileMD5[16];    /* MD5 of the file's bytes */
  uint8_t fileSHA1[20];   /* SHA-1 of the file's bytes */
  uint8_t fileSHA256[32]; /* SHA-256 of the file's bytes */
  uint8_t fileSHA384[48]; /* SHA-384 of the file's bytes */
  uint8_t fileSHA512[64]; /* SHA-512 of the file's bytes */
  uint8_t peMD5[16];      /* MD5 of a PE image, as its signatures cover it; zero for other files */
  uint8_t peSHA1[20];     /* SHA-1, as peMD5 */
  uint8_t peSHA256[32];   /* SHA-256, as peMD5 */
  uint8_t peSHA384[48];   /* SHA-384, as peMD5 */
  uint8_t peSHA512[64];   /* SHA-512, as peMD5 */
  uint8_t reserved[8];    /* passed through, not interpreted */
} FileDataRecord;

/* One certificate chain. Its first CertDataRecord follows at offset 8. A link is a distance in
 * bytes from the start of the record that contains it; the last record of a list has link 0. A file
 * without certificates has one chain with one certificate of size 0. */
typedef struct CertChainRecord {
  uint32_t nextChain; /* distance to the next CertChainRecord; 0 in the last one */
  uint32_t reserved;  /* passed through, not interpreted */
} CertChainRecord;

/* One certificate: X.509 in DER (RFC 5280). Its certSize bytes follow at offset 8. */
typedef struct CertDataRecord {
  uint32_t nextCert; /* distance to the next CertDataRecord of the chain; 0 in the last one */
  uint32_t certSize; /* size of the certificate in bytes; may be 0 */
} CertDataRecord;

/* Checks a field's offset at compile time; for the records of this header and of the providers'. */
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
LARDER_STATIC_ASSERT(sizeof(FileDataRecord) == 384, "the first chain is at offset 384");
LARDER_CHECK_OFFSET(CertChainRecord, nextChain, 0);
LARDER_STATIC_ASSERT(sizeof(CertChainRecord) == 8, "the first certificate is at offset 8");
LARDER_CHECK_OFFSET(CertDataRecord, nextCert, 0);
LARDER_CHECK_OFFSET(CertDataRecord, certSize, 4);
LARDER_STATIC_ASSERT(sizeof(CertDataRecord) == 8, "the certificate's bytes are at offset 8");

#endif
