// Whether the file provider's record can be believed.
#pragma once

#include <cstddef>
#include <string>

namespace larder {

// bytes: what is said to be a FileDataRecord with its chains and certificates, at any address.
// size: how much may be read there; the record itself is the dataSize bytes that it tells of, and
// what stands behind them isn't looked at.
//
// Gives what is wrong, in a few words that name the place, or the empty text. Accepted is a record
// in which every chain and certificate lies behind the one before it and inside dataSize; bytes
// between and behind them are no fault, and neither are the certificates' own bytes and
// providerType. One pass, no memory of its own.
std::string ValidateFileDataRecord(const void* bytes, std::size_t size);

}  // namespace larder
