// The file provider's record, taken apart. The block comes from a provider module, so nothing in it
// is believed before it has been checked.
#pragma once

#include <larder/records.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace larder::tool {

struct FileRecord {
  FileDataRecord facts;
  std::vector<std::vector<std::uint32_t>>
      chains;  // the sizes of each chain's certificates, in bytes
};

// block: as many bytes as its dataSize tells. Gives what is wrong with it, in a few words that name
// the place, or the empty text: record is filled then. Accepted is a block in which every record
// lies behind the one before it and inside the block; bytes between and behind them are no fault.
std::string ReadFileRecord(std::span<const unsigned char> block, FileRecord& record);

}  // namespace larder::tool
