#include "query-command.h"

#include <larder/larder.h>

#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "arguments.h"
#include "client.h"
#include "errors.h"
#include "file-record.h"
#include "platform/console.h"
#include "platform/wide.h"
#include "record-text.h"
#include "text.h"

namespace larder::tool {
namespace {

constexpr std::int32_t kFileType = 1;  // the file provider's

struct Arguments {
  std::vector<std::string> files;
  std::string type = "1";
  std::string option = "0";
};

struct Query {
  std::vector<std::string> files;
  std::int32_t type;
  std::uint32_t option;
};

Query CheckedQuery(const Arguments& arguments) {
  const auto type = ParseInt32(arguments.type);
  if (!type) throw CLI::ValidationError("--type", "no number of 32 bits: " + arguments.type);
  const auto option = ParseUnsigned(arguments.option, std::numeric_limits<std::uint32_t>::max());
  if (!option) {
    throw CLI::ValidationError("--option", "no number from 0 to 4294967295: " + arguments.option);
  }
  Query query{{}, *type, static_cast<std::uint32_t>(*option)};
  for (const std::string& file : arguments.files) query.files.push_back(Unshield(file));
  return query;
}

// A FileObjectDescriptor with room for the whole path; lastModified is 0.
class Descriptor {
 public:
  explicit Descriptor(const WideString& path) : words(WordCount(path)) {
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

// The text of a block, or what is wrong with it in fault.
std::string TextOfBlock(const DataBlockHeader& header, std::string& fault) {
  if (header.dataSize < sizeof header) {
    fault = std::to_string(header.dataSize) + " bytes are too few for a header";
    return {};
  }
  const std::span block(reinterpret_cast<const unsigned char*>(&header), header.dataSize);
  if (header.providerType != kFileType) return BlockText(block);
  FileRecord record;
  fault = ReadFileRecord(block, record);
  return fault.empty() ? FileRecordText(record) : std::string();
}

bool Fail(const std::string& file, const std::string& reason) {
  PrintError(file + ": " + reason);
  return false;
}

// text: what is to be printed about the file; it may be there though giving the block back failed.
bool QueryFile(LarderHandle handle, const Query& query, const std::string& file,
               std::string& text) {
  WideString path;
  const platform::Code code = platform::FullPath(file, path);
  if (code != platform::kSuccess) return Fail(file, SystemReason(code));
  const Descriptor descriptor(path);
  DataBlockHeader* data = nullptr;
  int result =
      LarderQuery(handle, descriptor.Data(), query.type, query.option, &data, LARDER_QUERY_VERSION);
  if (result != LARDER_OK) return Fail(file, ResultReason(result));
  std::string fault;
  text = TextOfBlock(*data, fault);
  result = LarderFreeQuery(handle, data);
  if (!fault.empty()) return Fail(file, "malformed record: " + fault);
  if (result != LARDER_OK) return Fail(file, "giving the record back: " + ResultReason(result));
  return true;
}

bool QueryFiles(LarderHandle handle, const Query& query, Output& output) {
  bool succeeded = true;
  std::string_view separator;
  for (const std::string& file : query.files) {
    if (output.Failed()) break;
    std::string text;
    if (!QueryFile(handle, query, file, text)) succeeded = false;
    if (text.empty()) continue;
    output.Write(separator);
    output.Write(RecordLine("file", Printable(file)));
    output.Write(text);
    separator = "\n";
  }
  return succeeded;
}

void IgnoreMessage(std::int32_t) {}

int RunQuery(const Query& query, Output& output) {
  LarderHandle handle = nullptr;
  if (!StartLibrary(&IgnoreMessage, handle)) return kExitFailed;
  const bool succeeded = QueryFiles(handle, query, output);
  return EndLibrary() && succeeded ? kExitOk : kExitFailed;
}

}  // namespace

void AddQueryCommand(CLI::App& app, Action& action) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* query = app.add_subcommand("query", "Print what a provider knows about files");
  query->add_option("FILE", arguments->files, "Files to ask about")->required();
  query->add_option("--type", arguments->type, "Type of the provider (default 1, files)");
  query->add_option("--option", arguments->option, "Query option for the provider (default 0)");
  query->callback([arguments, &action] {
    action = [query = CheckedQuery(*arguments)](Output& output) { return RunQuery(query, output); };
  });
}

}  // namespace larder::tool
