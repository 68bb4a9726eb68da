// What the library gave for one file.
#pragma once

#include <larder/records.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace larder::tool {

struct FileAnswer {
  std::string path;                  // as the user gave it
  std::uint64_t lastModified = 0;    // the descriptor's
  std::uint64_t size = 0;            // the file's bytes, 0 when they aren't known
  std::vector<unsigned char> block;  // the provider's, copied; empty when there is none to believe
  std::optional<int> result;         // the library's; none when it wasn't asked
  std::string error;                 // empty when all went well

  // The block as what its type says it is. While there is one.
  [[nodiscard]] const DataBlockHeader& Header() const {
    return *reinterpret_cast<const DataBlockHeader*>(block.data());
  }
  [[nodiscard]] const FileDataRecord& Record() const {
    return *reinterpret_cast<const FileDataRecord*>(block.data());
  }
};

}  // namespace larder::tool
