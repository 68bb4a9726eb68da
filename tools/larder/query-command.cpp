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
#include "diag/record-validation.h"
#include "errors.h"
#include "file-answer.h"
#include "platform/console.h"
#include "platform/file.h"
#include "platform/wide.h"
#include "record-json.h"
#include "record-text.h"
#include "support/scoped-handles.h"
#include "text.h"

namespace larder::tool {
namespace {

constexpr std::int32_t kFileType = 1;  // the file provider's

struct Arguments {
  std::vector<std::string> files;
  std::string type = "1";
  std::string option = "0";
  bool dump = false;
  bool json = false;
};

enum class Form { kText, kDump, kJson };

struct Query {
  std::vector<std::string> files;
  std::int32_t type;
  std::uint32_t option;
  Form form;
};

// Only the file provider's records are known well enough.
Form CheckedForm(const Arguments& arguments, std::int32_t type) {
  if (!arguments.dump && !arguments.json) return Form::kText;
  if (type == kFileType) return arguments.dump ? Form::kDump : Form::kJson;
  throw CLI::ValidationError(arguments.dump ? "--dump" : "--json",
                             "for the file provider's records (--type 1) only");
}

Query CheckedQuery(const Arguments& arguments) {
  const auto type = ParseInt32(arguments.type);
  if (!type) throw CLI::ValidationError("--type", "no number of 32 bits: " + arguments.type);
  const auto option = ParseUnsigned(arguments.option, std::numeric_limits<std::uint32_t>::max());
  if (!option) {
    throw CLI::ValidationError("--option", "no number from 0 to 4294967295: " + arguments.option);
  }
  Query query{{}, *type, static_cast<std::uint32_t>(*option), CheckedForm(arguments, *type)};
  for (const std::string& file : arguments.files) query.files.push_back(Unshield(file));
  return query;
}

// A FileObjectDescriptor with room for the whole path.
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

// 0, which asks for whatever is there, when this isn't known. What else is wrong with the file is
// for the provider to say.
std::uint64_t LastModified(const WideString& path) {
  platform::Handle raw = platform::InvalidHandle();
  platform::FileKind kind{};
  platform::FileInfo info;
  if (platform::OpenFileToRead(path, raw, kind) != platform::kSuccess) return 0;
  const AutoHandle file(raw);
  if (kind != platform::FileKind::kRegular) return 0;
  return platform::QueryFileInfo(raw, info) == platform::kSuccess ? info.lastModified : 0;
}

// What is wrong with a block; empty if nothing is.
std::string FaultOf(const DataBlockHeader& header, Form form) {
  if (header.dataSize < sizeof header) {
    return std::to_string(header.dataSize) + " bytes are too few for a header";
  }
  if (header.providerType == kFileType) return ValidateFileDataRecord(&header, header.dataSize);
  return form == Form::kText ? "" : "its type is " + std::to_string(header.providerType);
}

void TakeBlock(const DataBlockHeader& header, Form form, FileAnswer& answer) {
  const std::string fault = FaultOf(header, form);
  if (!fault.empty()) {
    answer.error = "malformed record: " + fault;
    return;
  }
  const auto* bytes = reinterpret_cast<const unsigned char*>(&header);
  answer.block.assign(bytes, bytes + header.dataSize);
}

void AskLibrary(LarderHandle handle, const Query& query, const Descriptor& descriptor,
                FileAnswer& answer) {
  DataBlockHeader* data = nullptr;
  answer.result =
      LarderQuery(handle, descriptor.Data(), query.type, query.option, &data, LARDER_QUERY_VERSION);
  if (answer.result != LARDER_OK) {
    answer.error = ResultReason(*answer.result);
    return;
  }
  TakeBlock(*data, query.form, answer);
  const int result = LarderFreeQuery(handle, data);
  if (result == LARDER_OK || !answer.error.empty()) return;
  answer.result = result;
  answer.error = "giving the record back: " + ResultReason(result);
}

FileAnswer QueryFile(LarderHandle handle, const Query& query, const std::string& file) {
  FileAnswer answer;
  answer.path = file;
  WideString path;
  const platform::Code code = platform::FullPath(file, path);
  if (code != platform::kSuccess) {
    answer.error = SystemReason(code);
    return answer;
  }
  answer.lastModified = LastModified(path);
  AskLibrary(handle, query, Descriptor(path, answer.lastModified), answer);
  return answer;
}

// Empty when there is nothing to print.
std::string TextOf(const FileAnswer& answer, Form form) {
  if (form == Form::kJson) return JsonLine(answer);
  if (answer.block.empty()) return {};
  if (form == Form::kDump) return FileRecordDump(answer.Record());
  return RecordLine("file", Printable(answer.path)) + (answer.Header().providerType == kFileType
                                                           ? FileRecordText(answer.Record())
                                                           : BlockText(answer.block));
}

bool QueryFiles(LarderHandle handle, const Query& query, Output& output) {
  bool succeeded = true;
  std::string_view separator;
  for (const std::string& file : query.files) {
    if (output.Failed()) break;
    const FileAnswer answer = QueryFile(handle, query, file);
    if (!answer.error.empty()) {
      PrintError(file + ": " + answer.error);
      succeeded = false;
    }
    const std::string text = TextOf(answer, query.form);
    if (text.empty()) continue;
    output.Write(separator);
    output.Write(text);
    separator = query.form == Form::kJson ? "" : "\n";
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
  CLI::Option* dump = query->add_flag("--dump", arguments->dump,
                                      "Print whole records, names of certificates included");
  query->add_flag("--json", arguments->json, "Print a line of JSON for each file")->excludes(dump);
  query->callback([arguments, &action] {
    action = [query = CheckedQuery(*arguments)](Output& output) { return RunQuery(query, output); };
  });
}

}  // namespace larder::tool
