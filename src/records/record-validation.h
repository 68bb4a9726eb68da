// Checks the structure of the file provider's record.
#pragma once

#include <cstddef>
#include <string>

namespace larder {

// bytes: a FileDataRecord with its chains and certificates, at any address. size: the number of
// bytes that may be read. The record is its first dataSize bytes; what follows isn't read.
//
// Returns what is wrong and where, or empty text. A record is accepted if every chain and
// certificate begins after the end of the one before it and ends within dataSize. Unused bytes
// between and after them are allowed. providerType and the certificates' contents aren't checked.
// Linear time.
std::string ValidateFileDataRecord(const void* bytes, std::size_t size);

}  // namespace larder
