#include "tools/larder/query/file-query.h"

#include <larder/feed-stats.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "platform/message.h"
#include "platform/scoped-handle.h"
#include "records/record-cursor.h"
#include "tools/larder/cli/client.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/query/readable-memory.h"

namespace larder::tool {
namespace {

// What is wrong with a file record of which `size` bytes can be read. A record may end before its
// dataSize if nothing in it leads there.
std::string RecordFaultOf(const void* block, const DataBlockHeader& header, std::size_t size) {
  if (size >= header.dataSize) return ValidateFileDataRecord(block, size);
  RecordCursor cursor(block, size);
  while (cursor.NextChain()) {
  }
  return cursor.Fault();
}

// What is wrong with a block; empty if it is valid. size: the bytes that can be read of it.
std::string FaultOf(const void* block, const DataBlockHeader& header, std::size_t size,
                    const FileQuestion& question) {
  if (header.dataSize < sizeof header) {
    return std::to_string(header.dataSize) + " bytes are too few for a header";
  }
  if (header.providerType == LARDER_FEED_FILE_TYPE) return RecordFaultOf(block, header, size);
  return question.onlyFileRecords ? "its type is " + std::to_string(header.providerType) : "";
}

// Copies no more than is printed, because the block may be shorter than its dataSize, and reads
// nothing that isn't memory.
void TakeBlock(const void* block, const FileQuestion& question, FileAnswer& answer) {
  const auto header = ReadUnaligned<DataBlockHeader>(block);
  const std::size_t readable = ReadableBytes(block, header.dataSize);
  const std::string fault = FaultOf(block, header, readable, question);
  if (!fault.empty()) {
    answer.error = "malformed record: " + fault;
    return;
  }
  const bool isFileRecord = header.providerType == LARDER_FEED_FILE_TYPE;
  const bool isStats = header.providerType == LARDER_FEED_STATS_TYPE;
  const std::size_t printed = isStats ? sizeof(FeedStatsRecord) : kMaxUnknownBytes;
  const std::size_t size = isFileRecord ? UsedSize(block) : std::min(readable, printed);
  const auto* bytes = static_cast<const unsigned char*>(block);
  answer.block.assign(bytes, bytes + size);
}

void AskLibrary(LarderHandle handle, const FileQuestion& question,
                const std::vector<unsigned char>& descriptor, FileAnswer& answer) {
  DataBlockHeader* data = nullptr;
  answer.result = LarderQuery(handle, descriptor.data(), question.type, question.option, &data,
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

// Why this process can't read the path as a file; empty if it can. The library's result doesn't
// say.
std::string FileFaultOf(const WideString& path) {
  platform::OwnedHandle file;
  platform::FileKind kind{};
  const platform::Code code = platform::OpenFileToRead(path, file.Out(), kind);
  if (code != platform::kSuccess) return platform::SystemReason(code);
  if (kind == platform::FileKind::kRegular) return {};
  return kind == platform::FileKind::kDirectory ? "it is a folder" : "it isn't a regular file";
}

void AddFileFault(const WideString& path, FileAnswer& answer) {
  const std::string fault = FileFaultOf(path);
  if (!fault.empty()) answer.error += ": " + fault;
}

}  // namespace

std::vector<unsigned char> FileDescriptor(const WideString& path, std::uint64_t lastModified) {
  const std::size_t pathBytes = (path.size() + 1) * sizeof(LarderWideChar);
  std::vector<unsigned char> bytes(offsetof(FileObjectDescriptor, filePath) + pathBytes);
  const std::uint32_t halves[] = {static_cast<std::uint32_t>(lastModified),
                                  static_cast<std::uint32_t>(lastModified >> 32)};
  std::memcpy(bytes.data(), halves, sizeof halves);
  std::memcpy(bytes.data() + offsetof(FileObjectDescriptor, filePath), path.c_str(), pathBytes);
  return bytes;
}

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
  AskLibrary(handle, question, FileDescriptor(path, info.lastModified), answer);
  const bool isFile = question.type == LARDER_FEED_FILE_TYPE;
  if (isFile && answer.block.empty() && answer.result == LARDER_E_GENERIC) {
    AddFileFault(path, answer);
  }
  return answer;
}

}  // namespace larder::tool
