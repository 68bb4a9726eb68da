// Data blocks as text for a person: lines of a label, blanks and a value.
#pragma once

#include <larder/records.h>

#include <span>
#include <string>
#include <vector>

namespace larder::tool {

std::string RecordLine(std::string label, const std::string& value);

// record: one that ValidateFileDataRecord accepts, as in everything below.
std::string FileRecordText(const FileDataRecord& record);

// The same as DumpFileDataRecord has it, with lines that end in a line feed, the last one too, and
// with control characters made visible.
std::string FileRecordDump(const FileDataRecord& record);

// The certificates (each a CertDataRecord) of each chain. They lie in the record.
std::vector<std::vector<const void*>> ChainsOf(const FileDataRecord& record);

// Whether there is any chain but that of one certificate without bytes, which is how a record says
// that there is none.
bool HasSigners(const FileDataRecord& record);

// Whether a chain is the one that says so.
bool IsNoChain(const std::vector<const void*>& certs);

std::uint32_t CertificateSize(const void* cert);

// Whether there is none of the digests of the file as an executable image.
bool HasNoImageDigests(const FileDataRecord& record);

// A block of unknown form: type, size and a dump of its first bytes. block: at least a header.
std::string BlockText(std::span<const unsigned char> block);

}  // namespace larder::tool
