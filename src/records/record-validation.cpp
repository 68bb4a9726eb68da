#include "records/record-validation.h"

#include "records/record-cursor.h"

namespace larder {

std::string ValidateFileDataRecord(const void* bytes, std::size_t size) {
  if (size < sizeof(FileDataRecord)) {
    return std::to_string(size) + " bytes are too few for a file record";
  }
  const auto dataSize = ReadUnaligned<FileDataRecord>(bytes).dataSize;
  if (dataSize > size) {
    return "dataSize is " + std::to_string(dataSize) + ", but there are only " +
           std::to_string(size) + " bytes";
  }
  RecordCursor cursor(bytes, dataSize);
  while (cursor.NextChain()) {
  }
  return cursor.Fault();
}

}  // namespace larder
