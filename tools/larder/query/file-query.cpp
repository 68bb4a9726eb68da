#include "tools/larder/query/file-query.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "platform/message.h"
#include "records/record-cursor.h"
#include "tools/larder/cli/client.h"
#include "tools/larder/cli/path.h"

namespace larder::tool {
namespace {

// A FileObjectDescriptor with space for the whole path.
class Descriptor {
 public:
  Descriptor(const WideString& path, std::uint64_t lastModified) : words(WordCount(path)) {
    words[0] = static_cast<std::uint32_t>(lastModified);
    words[1] = static_cast<std::uint32_t>(lastModified >> 32);
    auto* start = reinterpret_cast<unsigned char*>(words.data());
    std::memcpy(start + offsetof(FileObjectDescriptor, filePath), path.c_str(),
                (path.size() + 1) * sizeof(LarderWideChar));
  }

  [[nodiscard]] const void* Data() const { return words.data(); }

 private:
  static std::size_t WordCount(const WideString& path) {
    const std::size_t bytes =
        offsetof(FileObjectDescriptor, filePath) + (path.size() + 1) * sizeof(LarderWideChar);
    return (bytes + sizeof(std::uint32_t) - 1) / sizeof(std::uint32_t);
  }

  std::vector<std::uint32_t> words;
};

// What is wrong with a block; empty if it is valid. Nothing beyond its dataSize is read.
std::string FaultOf(const void* block, const DataBlockHeader& header,
                    const FileQuestion& question) {
  if (header.dataSize < sizeof header) {
    return std::to_string(header.dataSize) + " bytes are too few for a header";
  }
  if (header.providerType == LARDER_FEED_FILE_TYPE)
    return ValidateFileDataRecord(block, header.dataSize);
  return question.onlyFileRecords ? "its type is " + std::to_string(header.providerType) : "";
}

// Copies no more than is printed, because the block may be shorter than its dataSize.
void TakeBlock(const void* block, const FileQuestion& question, FileAnswer& answer) {
  const auto header = ReadUnaligned<DataBlockHeader>(block);
  const std::string fault = FaultOf(block, header, question);
  if (!fault.empty()) {
    answer.error = "malformed record: " + fault;
    return;
  }
  const bool isFileRecord = header.providerType == LARDER_FEED_FILE_TYPE;
  const std::size_t size =
      isFileRecord ? UsedSize(block) : std::min<std::size_t>(header.dataSize, kMaxUnknownBytes);
  const auto* bytes = static_cast<const unsigned char*>(block);
  answer.block.assign(bytes, bytes + size);
}

void AskLibrary(LarderHandle handle, const FileQuestion& question, const Descriptor& descriptor,
                FileAnswer& answer) {
  DataBlockHeader* data = nullptr;
  answer.result = LarderQuery(handle, descriptor.Data(), question.type, question.option, &data,
                              LARDER_QUERY_VERSION);
  if (answer.result == LARDER_OK && data == nullptr) answer.result = LARDER_E_NO_DATA;
  if (answer.result != LARDER_OK) {
    answer.error = ResultReason(*answer.result);
    return;
  }
  TakeBlock(data, question, answer);
  const int result = LarderFreeQuery(handle, data);
  if (result == LARDER_OK || !answer.error.empty()) return;
  answer.result = result;
  answer.error = "cannot free the record: " + ResultReason(result);
}

}  // namespace

platform::FileInfo FileInfoOf(const WideString& path) {
  platform::FileInfo info;
  platform::FileKind kind{};
  return platform::QueryPathInfo(path, info, kind) == platform::kSuccess ? info
                                                                         : platform::FileInfo();
}

FileAnswer QueryFile(LarderHandle handle, const FileQuestion& question, const std::string& file) {
  WideString path;
  const platform::Code code = FullPath(file, path);
  if (code == platform::kSuccess) return QueryPath(handle, question, path, file);
  FileAnswer answer;
  answer.path = file;
  answer.error = platform::SystemReason(code);
  return answer;
}

FileAnswer QueryPath(LarderHandle handle, const FileQuestion& question, const WideString& path,
                     const std::string& shown) {
  FileAnswer answer;
  answer.path = shown;
  const platform::FileInfo info = FileInfoOf(path);
  answer.lastModified = info.lastModified;
  answer.size = info.size;
  AskLibrary(handle, question, Descriptor(path, info.lastModified), answer);
  return answer;
}

}  // namespace larder::tool
