// Data blocks as text: for people, as lines of a label, blanks and a value; for programs, as JSON.
#pragma once

#include <larder/records.h>

#include <span>
#include <string>
#include <vector>

#include "tools/larder/query/file-query.h"

namespace larder::tool {

std::string RecordLine(std::string label, const std::string& value);

// A line of a word, two blanks and a path, in the format of sha256sum: a path with a line end, and
// on Linux with a backslash, is escaped, and its line begins with a backslash.
std::string PathLine(const std::string& word, const std::string& path);

// record: one that ValidateFileDataRecord accepts, as in everything below.
std::string FileRecordText(const FileDataRecord& record);

// DumpFileDataRecord with each line ending in a line feed, and with whole names through Printable.
std::string FileRecordDump(const FileDataRecord& record);

// The certificates of each chain; each points to a CertDataRecord in the record.
std::vector<std::vector<const void*>> ChainsOf(const FileDataRecord& record);

// False if the only chain is the one with an empty certificate, which stands for no signer.
bool HasSigners(const FileDataRecord& record);

// Whether a chain is that one.
bool IsNoChain(const std::vector<const void*>& certs);

std::uint32_t CertificateSize(const void* cert);

// Whether the file isn't an image, so that all digests of the image are zero.
bool HasNoImageDigests(const FileDataRecord& record);

// A block that isn't a file record: type and size, and the statistics provider's figures by name,
// or bytes. block: its beginning, at least the header.
std::string BlockText(std::span<const unsigned char> block);

// The answer for one file as a line of JSON, in UTF-8 with a line feed; docs/tool.md has the
// format. answer: its block, if it has one, is a file record that ValidateFileDataRecord accepts.
// found: the value of the key "found", which the line doesn't have if it is empty.
std::string JsonLine(const FileAnswer& answer, const std::string& found = {});

}  // namespace larder::tool
