// The validation of any bytes as a file's record neither crashes nor hangs, and every record that
// it accepts can be dumped.
#include <larder/records.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "records/record-cursor.h"
#include "records/record-dump.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
  if (!larder::ValidateFileDataRecord(bytes, size).empty()) return 0;
  // Aligned as a provider's is, and without what UsedSize leaves out.
  const std::vector<unsigned char> block(bytes, bytes + larder::UsedSize(bytes));
  const std::string text =
      larder::DumpFileDataRecord(reinterpret_cast<const FileDataRecord*>(block.data()), 1);
  const std::string end = "\r\n    ]\r\n  }";
  if (text.size() < end.size() || text.substr(text.size() - end.size()) != end) std::abort();
  return 0;
}
