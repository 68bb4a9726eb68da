// Whatever a provider returns as a file's record, taking it apart neither crashes nor hangs, and
// what is accepted lies inside the block.
#include <larder/records.h>

#include <cstdlib>
#include <numeric>

#include "tools/larder/file-record.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
  larder::tool::FileRecord record;
  if (!larder::tool::ReadFileRecord({bytes, size}, record).empty()) return 0;
  std::uint64_t held = sizeof(FileDataRecord);
  for (const auto& chain : record.chains) {
    held += sizeof(CertChainRecord) + chain.size() * sizeof(CertDataRecord);
    held += std::accumulate(chain.begin(), chain.end(), std::uint64_t{0});
  }
  if (held > size || record.chains.empty()) std::abort();
  return 0;
}
