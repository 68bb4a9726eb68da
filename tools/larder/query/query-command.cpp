#include <larder/larder.h>

#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/larder/cli/client.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/query/file-query.h"
#include "tools/larder/query/record-text.h"

namespace larder::tool {
namespace {

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
  FileQuestion question;
  Form form;
};

// Dumps and JSON are for the file provider's records only; other types have no known form.
Form CheckedForm(const Arguments& arguments, std::int32_t type) {
  if (!arguments.dump && !arguments.json) return Form::kText;
  if (type == LARDER_FEED_FILE_TYPE) return arguments.dump ? Form::kDump : Form::kJson;
  throw UsageError(arguments.dump ? "--dump" : "--json",
                   "for the file provider's records (--type 1) only");
}

Query CheckedQuery(const Arguments& arguments) {
  const auto type = ParseInt32(arguments.type);
  if (!type) throw NotANumber("--type", "from -2147483648 to 2147483647", arguments.type);
  const std::uint64_t option =
      NumberArgument("--option", arguments.option, 0, std::numeric_limits<std::uint32_t>::max());
  const Form form = CheckedForm(arguments, *type);
  return {arguments.files, {*type, static_cast<std::uint32_t>(option), form != Form::kText}, form};
}

// Empty when there is nothing to print.
std::string TextOf(const FileAnswer& answer, Form form) {
  if (form == Form::kJson) return JsonLine(answer);
  if (answer.block.empty()) return {};
  if (form == Form::kDump) return FileRecordDump(answer.Record());
  return RecordLine("file", Printable(answer.path)) +
         (answer.Header().providerType == LARDER_FEED_FILE_TYPE ? FileRecordText(answer.Record())
                                                                : BlockText(answer.block));
}

bool QueryFiles(LarderHandle handle, const Query& query, Output& output) {
  bool succeeded = true;
  std::string_view separator;
  for (const std::string& file : query.files) {
    if (output.Failed()) break;
    const FileAnswer answer = QueryFile(handle, query.question, file);
    if (!answer.error.empty()) {
      PrintError(file + ": " + answer.error);
      succeeded = false;
    }
    const std::string text = TextOf(answer, query.form);
    if (text.empty()) continue;
    output.Write(separator);
    output.Write(text);
    output.Flush();  // the next file may take long, and an interrupt ends the program
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

void AddQueryCommand(const Command& top) {
  const auto arguments = std::make_shared<Arguments>();
  const Command query = top.AddCommand("query", "Print what a provider knows about files");
  query.AddDetails(
      "Prints a label and a value on each line, and an empty line between two files.\n"
      "Certificates are read from the file; nothing is verified.");
  query.AddRequired("FILE", arguments->files, "Files to ask about");
  query.AddOption("--type", "N", arguments->type, "Type of the provider (default 1, files)");
  query.AddOption("--option", "N", arguments->option, "Query option for the provider (default 0)");
  query.AddFlag("--dump", arguments->dump, "Print whole records, names of certificates included");
  query.AddFlag("--json", arguments->json, "Print a line of JSON for each file");
  query.Exclude("--json", "--dump");
  query.OnChosen([arguments] {
    return [query = CheckedQuery(*arguments)](Output& output) { return RunQuery(query, output); };
  });
}

}  // namespace larder::tool
