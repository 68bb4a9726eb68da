// What "larder find" searches for in records.
#pragma once

#include <functional>
#include <span>
#include <string>

namespace larder::tool {

// Returns where a record matches: a digest by its name in the output of "larder query" ("sha256",
// "pe-md5"), or "signer"; empty if it doesn't match. The record may be at any address, and needn't
// be valid. Not thread-safe.
using RecordMatch = std::function<std::string(std::span<const unsigned char> record)>;

// A digest of the file or of the image. hex: its digits in any case; their number chooses the
// algorithm. Throws UsageError.
RecordMatch DigestMatch(const std::string& hex);

// A certificate, in any chain, whose subject contains the text. The case of ASCII letters doesn't
// matter. Throws UsageError if the text is empty or isn't UTF-8.
RecordMatch SignerMatch(const std::string& text);

}  // namespace larder::tool
